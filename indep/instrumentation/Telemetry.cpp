#include "U_Telemetry.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include <krobase/format.h>

#include "U_Encoding.h"
#include "U_ZString.h"

namespace U
{
namespace telemetry
{
namespace
{
typedef std::pair<U_UTF16String, U_UTF16String> Delimiters; // left, right

// Not owned. A thread that reads a provider also sees all writes before its installation.
std::atomic<U_TelemetryProvider*> sProvider(nullptr);

U_TelemetryProvider* Provider()
{
    return sProvider.load(std::memory_order_acquire);
}

// One kind of quote: its delimiters as ZStrings, and in English.
struct Quote
{
    const char* mLeft;
    const char* mRight;
    U_u16 mEnglishLeft;
    U_u16 mEnglishRight;
};

const Quote kQuotes[] = {
    {"$$$/U/StripQuotedContents/Entry1Left=#{quot}",
     "$$$/U/StripQuotedContents/Entry1Right=#{quot}", '"', '"'},
    {"$$$/U/StripQuotedContents/Entry2Left='", "$$$/U/StripQuotedContents/Entry2Right='", '\'',
     '\''},
    {"$$$/U/StripQuotedContents/Entry3Left=#{ldquo}",
     "$$$/U/StripQuotedContents/Entry3Right=#{rdquo}", 0x201C, 0x201D},
    {"$$$/U/StripQuotedContents/Entry4Left=#{lsquo}",
     "$$$/U/StripQuotedContents/Entry4Right=#{rsquo}", 0x2018, 0x2019},
};

// An empty delimiter would be found everywhere, and no delimiter would keep the user's text in the
// result. So the English delimiters are used then.
Delimiters Resolve(const Quote& quote)
{
    Delimiters delimiters(U_ZStringToUTF16String(quote.mLeft),
                          U_ZStringToUTF16String(quote.mRight));
    if (delimiters.first.empty() || delimiters.second.empty())
    {
        delimiters.first.assign(1, quote.mEnglishLeft);
        delimiters.second.assign(1, quote.mEnglishRight);
    }
    return delimiters;
}

typedef std::vector<Delimiters> QuoteDelimiters;

// Null until the first call. Never destroyed, since threads may strip until the process ends.
std::atomic<const QuoteDelimiters*> sQuoteDelimiters(nullptr);

// Resolves without a lock, since the resolution may report. If several threads resolve at once, all
// use the delimiters of the first.
const QuoteDelimiters& TheQuoteDelimiters()
{
    const QuoteDelimiters* present = sQuoteDelimiters;
    if (present)
        return *present;
    auto made = std::make_unique<QuoteDelimiters>();
    std::transform(std::begin(kQuotes), std::end(kQuotes), std::back_inserter(*made), &Resolve);
    return sQuoteDelimiters.compare_exchange_strong(present, made.get()) ? *made.release()
                                                                         : *present;
}

void StripBetween(const Delimiters& delimiters, U_UTF16String* text)
{
    const U_UTF16String& left = delimiters.first;
    const U_UTF16String& right = delimiters.second;
    const size_t open = text->find(left);
    const size_t close = text->rfind(right);
    if (open == U_UTF16String::npos || close == U_UTF16String::npos)
        return;
    // The right delimiter may be before the left one, or may be the same occurrence.
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
    for (const Delimiters& delimiters : TheQuoteDelimiters())
        StripBetween(delimiters, &result);
    return result;
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
