#include "U_Telemetry.h"

#include <atomic>
#include <utility>
#include <vector>

#include <quiet_new.h>

#include "U_ZString.h"

namespace U
{
namespace telemetry
{
namespace
{
typedef std::pair<U_UTF16String, U_UTF16String> Delimiters; // left, right

// Not owned. Whoever finds a provider also finds what was written before it was
// installed.
std::atomic<U_TelemetryProvider*> sProvider(nullptr);

U_TelemetryProvider* Provider()
{
    return sProvider.load(std::memory_order_acquire);
}

std::vector<Delimiters> ResolveDelimiters()
{
    const char* const kEntries[][2] = {
        {"$$$/U/StripQuotedContents/Entry1Left=#{quot}",
         "$$$/U/StripQuotedContents/Entry1Right=#{quot}"},
        {"$$$/U/StripQuotedContents/Entry2Left='", "$$$/U/StripQuotedContents/Entry2Right='"},
        {"$$$/U/StripQuotedContents/Entry3Left=#{ldquo}",
         "$$$/U/StripQuotedContents/Entry3Right=#{rdquo}"},
        {"$$$/U/StripQuotedContents/Entry4Left=#{lsquo}",
         "$$$/U/StripQuotedContents/Entry4Right=#{rsquo}"},
    };
    std::vector<Delimiters> delimiters;
    for (const auto& entry : kEntries)
        delimiters.emplace_back(U_ZStringToUTF16String(entry[0]), U_ZStringToUTF16String(entry[1]));
    return delimiters;
}

// Resolved by the first thread that asks, while others wait. Never destroyed:
// threads may report until the process is gone.
const std::vector<Delimiters>& QuoteDelimiters()
{
    static const auto* const sQuoteDelimiters = [] {
        const platform::ScQuietNew quiet; // while others wait
        return new std::vector<Delimiters>(ResolveDelimiters());
    }();
    return *sQuoteDelimiters;
}

void StripBetween(const Delimiters& delimiters, U_UTF16String* text)
{
    const U_UTF16String& left = delimiters.first;
    const U_UTF16String& right = delimiters.second;
    // A language that leaves a delimiter empty doesn't use this kind of quote.
    if (left.empty() || right.empty())
        return;
    const size_t open = text->find(left);
    const size_t close = text->rfind(right);
    if (open == U_UTF16String::npos || close == U_UTF16String::npos)
        return;
    // The right delimiter may stand first, or be the left one itself.
    *text = text->substr(0, open + left.size()) + text->substr(close);
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

U_UTF16String StripQuotedContents(const U_UTF16String& text)
{
    U_UTF16String result = text;
    for (const Delimiters& delimiters : QuoteDelimiters())
        StripBetween(delimiters, &result);
    return result;
}
} // namespace telemetry
} // namespace U
