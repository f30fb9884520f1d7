// Telemetry.
//
// The library collects no telemetry by itself. A host that has a telemetry service installs one
// provider. Every function here except StripQuotedContents forwards its arguments to the
// provider, and does nothing without one. So code can report use and errors without a check for
// a provider.
//
//     using namespace U::telemetry;
//     IncrementEventCount("Stage", "Render", "Frame");
//     const auto group = NewDataGroup("Stage", "render", "frame", krobase::utility::Guid());
//     AddToGroup(group, "layers", U_UTF8String(1, '7')); // a null group is allowed
//
// Thread safety: all functions but RegisterTelemetryProvider may be called on any thread, and
// several threads may be in the provider at once.
//
// Throws: exceptions of the provider are passed to the caller.
//
// The library itself reports three kinds of event, each with a Guid of zeros:
// - The group ("Qx", "error", "error") for each warning, problem, fatal error and leak, each
//   time the library tries to show the message. The group has "severity" and "localizedMsg", and
//   "errDetail" for a message with a group identifier (U_Group.h).
// - The group ("qx", "plugin_error", "plugin_error") for a missing plug-in. "match_name" and
//   "version" are added with the group's own Add, not with the provider's AddToGroup.
// - The event ("Stage", "CrashHandler", "InvokingCrashHandler") for a hardware exception
//   (U_Fatal.h), on the thread of the exception. The process may be in any state then.

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
// The base class of a host's provider. The provider defines the meaning of its strings, and
// keeps the counts of events.
//
// Thread safety: every operation may be called on any thread, on several threads at once.
// The order of the operations is part of the binary interface.
struct U_EXPORT U_TelemetryProvider
{
    // A provider without state.
    U_TelemetryProvider();
    U_TelemetryProvider(const U_TelemetryProvider& other);
    U_TelemetryProvider& operator=(const U_TelemetryProvider& other);
    virtual ~U_TelemetryProvider();

    // Returns whether events are recorded.
    virtual bool IsLogging() = 0;

    // Records an event, once or `count` times.
    virtual void LogEvent(const char* category, const char* event, const unsigned short* text,
                          krobase::utility::Guid guid) = 0;
    virtual void LogEventWithCount(const std::string& first, const std::string& second,
                                   const std::string& third, int count,
                                   krobase::utility::Guid guid) = 0;
    // Adds 1 to the count of an event, sets the count to 0, and records all counts.
    virtual void IncrementEventCount(const std::string& first, const std::string& second,
                                     const std::string& third) = 0;
    virtual void ClearEventCount(const std::string& first, const std::string& second,
                                 const std::string& third) = 0;
    virtual void LogEventsWithCount() = 0;

    // Returns a group for further data, or null.
    virtual boost::shared_ptr<krobase::config::UsageLoggerGroup>
    NewDataGroup(const char* product, const char* event, const char* subcategory,
                 krobase::utility::Guid guid) = 0;

    // `group`: a result of NewDataGroup, also null.
    virtual void AddToGroup(const boost::shared_ptr<krobase::config::UsageLoggerGroup>& group,
                            const char* name, const U_UTF8String& value) = 0;
};

// Installs a provider in place of the earlier one. Null removes the provider. The caller keeps
// ownership.
//
// REQUIRES: no other thread calls telemetry during the change, and the provider outlives every
// call that may still reach it.
U_EXPORT void RegisterTelemetryProvider(U_TelemetryProvider* provider);

// Each function forwards to the provider's operation of the same name. Without a provider
// IsLogging returns false and NewDataGroup returns null. `text` is null-terminated.
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

// Returns the text without quoted parts, which may be text of the user.
//
// The function handles four kinds of quote in turn: ", ', the typographic double quotes and the
// typographic single quotes. For each kind the text between the first left quote and the last
// right quote is removed, also unquoted text between two quoted parts. The quotes are kept.
//
// Throws: std::bad_alloc.
// Failures:
// - Nothing is removed for a quote without a partner. The text before or after that quote may
//   appear twice in the result.
// - The quotes are those of the language at the first call. If a translation has an empty left
//   or right quote for a kind, the English quotes of that kind are used.
U_EXPORT U_UTF16String StripQuotedContents(const U_UTF16String& text);
} // namespace telemetry
} // namespace U

// For close neighbours.

// Reports a plug-in that is missing or cannot be loaded to telemetry. `version` is written with
// at least eight digits. Does nothing without a provider or without a group.
//
// Throws: std::bad_alloc, and exceptions of the provider.
U_EXPORT void Up_HDT_ReportPluginErrorTelemetry(const U_UTF16String& matchName,
                                                unsigned int version);

#endif
