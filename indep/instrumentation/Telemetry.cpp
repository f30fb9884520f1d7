#include "U_Telemetry.h"

#include <atomic>

#include <krobase/format.h>

#include "U_Encoding.h"
#include "U_ZString.h"

namespace U
{
namespace telemetry
{
namespace
{
// Not owned. A thread that reads a provider also sees all writes before its installation.
std::atomic<U_TelemetryProvider*> sProvider(nullptr);

U_TelemetryProvider* Provider()
{
    return sProvider.load(std::memory_order_acquire);
}

} // namespace

U_TelemetryProvider::U_TelemetryProvider() = default;
U_TelemetryProvider::U_TelemetryProvider(const U_TelemetryProvider&) = default;
U_TelemetryProvider& U_TelemetryProvider::operator=(const U_TelemetryProvider&) = default;
U_TelemetryProvider::~U_TelemetryProvider() = default;

void RegisterTelemetryProvider(U_TelemetryProvider* provider)
{
    sProvider.store(provider, std::memory_order_release);
}

bool IsLogging()
{
    U_TelemetryProvider* provider = Provider();
    return provider && provider->IsLogging();
}

void LogEvent(const char* category, const char* event, const unsigned short* text,
              krobase::utility::Guid guid)
{
    if (U_TelemetryProvider* provider = Provider())
        provider->LogEvent(category, event, text, guid);
}

void LogEventWithCount(const std::string& first, const std::string& second,
                       const std::string& third, int count, krobase::utility::Guid guid)
{
    if (U_TelemetryProvider* provider = Provider())
        provider->LogEventWithCount(first, second, third, count, guid);
}

void IncrementEventCount(const std::string& first, const std::string& second,
                         const std::string& third)
{
    if (U_TelemetryProvider* provider = Provider())
        provider->IncrementEventCount(first, second, third);
}

void ClearEventCount(const std::string& first, const std::string& second, const std::string& third)
{
    if (U_TelemetryProvider* provider = Provider())
        provider->ClearEventCount(first, second, third);
}

void LogEventsWithCount()
{
    if (U_TelemetryProvider* provider = Provider())
        provider->LogEventsWithCount();
}

boost::shared_ptr<krobase::config::UsageLoggerGroup> NewDataGroup(const char* product,
                                                                  const char* event,
                                                                  const char* subcategory,
                                                                  krobase::utility::Guid guid)
{
    if (U_TelemetryProvider* provider = Provider())
        return provider->NewDataGroup(product, event, subcategory, guid);
    return boost::shared_ptr<krobase::config::UsageLoggerGroup>();
}

void AddToGroup(const boost::shared_ptr<krobase::config::UsageLoggerGroup>& group, const char* name,
                const U_UTF8String& value)
{
    if (U_TelemetryProvider* provider = Provider())
        provider->AddToGroup(group, name, value);
}

} // namespace telemetry
} // namespace U

void Up_HDT_ReportPluginErrorTelemetry(const U_UTF16String& matchName, unsigned int version)
{
    const boost::shared_ptr<krobase::config::UsageLoggerGroup> group =
        U::telemetry::NewDataGroup("qx", "plugin_error", "plugin_error", krobase::utility::Guid());
    if (!group)
        return;
    const size_t kDigits = 8;
    const int kMostCharacters = 31;
    const U_UTF16String number = krobase::utility::NumberToString(
        version, kDigits, 0, krobase::utility::kNumberNoLocaleMarks, kMostCharacters);
    group->Add("match_name", U_UTF16To8String(matchName));
    group->Add("version", U_UTF16To8String(number));
}
