// Telemetry.
//
// The library collects none itself. A host that has a place for it installs one
// provider, and every operation here but StripQuotedContents hands its arguments
// on to it; without a provider they do nothing. So code can tell of use and errors
// without knowing whether anybody listens. Any thread may call, so a provider
// copes with all of them at once.
//
// Of itself the library tells three things, with Guids of zeros: each warning,
// problem, fatal error and leak, each time the library tries to show it, makes a group ("Qx",
// "error", "error") with "severity", "localizedMsg", and for a message with a group's
// identifier (U_Group.h) "errDetail"; a plug-in that is missing a group ("qx", "plugin_error",
// "plugin_error"), to which "match_name" and "version" are added directly; and the
// event ("Stage", "CrashHandler", "InvokingCrashHandler") a crash, on the thread that
// crashed and in whatever state that left the process.

#ifndef U_TELEMETRY_H
#define U_TELEMETRY_H

#include <string>

#include <boost/smart_ptr/shared_ptr.hpp>

#include <krobase/guid.h>
#include <krobase/usage_logger.h>

#include "U_Types.h"

namespace U
{
namespace telemetry
{
// What a host derives its provider from. The provider says what its strings
// mean, and keeps the event counts if it counts; an exception that it throws
// passes to the caller. Providers are called by slot: the order stays.
struct U_EXPORT U_TelemetryProvider
{
    U_TelemetryProvider();
    U_TelemetryProvider(const U_TelemetryProvider& other);
    U_TelemetryProvider& operator=(const U_TelemetryProvider& other);
    virtual ~U_TelemetryProvider();

    virtual bool IsLogging() = 0;
    virtual void LogEvent(const char* category, const char* event, const unsigned short* text,
                          krobase::utility::Guid guid) = 0;
    virtual void LogEventWithCount(const std::string& first, const std::string& second,
                                   const std::string& third, int count,
                                   krobase::utility::Guid guid) = 0;
    virtual void IncrementEventCount(const std::string& first, const std::string& second,
                                     const std::string& third) = 0;
    virtual void ClearEventCount(const std::string& first, const std::string& second,
                                 const std::string& third) = 0;
    virtual void LogEventsWithCount() = 0;
    virtual boost::shared_ptr<krobase::config::UsageLoggerGroup>
    NewDataGroup(const char* product, const char* event, const char* subcategory,
                 krobase::utility::Guid guid) = 0;
    // group is what NewDataGroup gave, null too.
    virtual void AddToGroup(const boost::shared_ptr<krobase::config::UsageLoggerGroup>& group,
                            const char* name, const U_UTF8String& value) = 0;
};

// Installs a provider in the place of the one before; null removes it. The
// provider stays the caller's and outlives every call that may still reach it,
// so a host changes it while no other thread tells anything.
U_EXPORT void RegisterTelemetryProvider(U_TelemetryProvider* provider);

// The provider's operations of the same names. Without a provider IsLogging is
// false and NewDataGroup gives null. text ends with a zero.
U_EXPORT bool IsLogging();
U_EXPORT void LogEvent(const char* category, const char* event, const unsigned short* text,
                       krobase::utility::Guid guid);
U_EXPORT void LogEventWithCount(const std::string& first, const std::string& second,
                                const std::string& third, int count, krobase::utility::Guid guid);
U_EXPORT void IncrementEventCount(const std::string& first, const std::string& second,
                                  const std::string& third);
U_EXPORT void ClearEventCount(const std::string& first, const std::string& second,
                              const std::string& third);
U_EXPORT void LogEventsWithCount();
U_EXPORT boost::shared_ptr<krobase::config::UsageLoggerGroup>
NewDataGroup(const char* product, const char* event, const char* subcategory,
             krobase::utility::Guid guid);
U_EXPORT void AddToGroup(const boost::shared_ptr<krobase::config::UsageLoggerGroup>& group,
                         const char* name, const U_UTF8String& value);

// The text without what a user may have written into it: for each kind of quote
// in turn, all between the first left and the last right one goes, also what
// stands between two quoted pieces. The quotes stay. A quote without its partner
// takes nothing out; what stands around it may then appear twice. The kinds are
// ", ', the typographic double and the typographic single ones, in the language
// of the first call; a kind of which a translation leaves a quote empty is looked for
// as in English. Throws std::bad_alloc.
U_EXPORT U_UTF16String StripQuotedContents(const U_UTF16String& text);
} // namespace telemetry
} // namespace U

// For close neighbours.

// Tells telemetry, if there is any, of a plug-in that is missing or doesn't
// load: its match name, and its version as eight digits or more. Throws std::bad_alloc,
// and what the provider throws.
U_EXPORT void Up_HDT_ReportPluginErrorTelemetry(const U_UTF16String& matchName,
                                                unsigned int version);

#endif
