// The removal of quoted text, which may be a user's.

#include "U_Telemetry.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "U_ZString.h"

namespace U
{
namespace telemetry
{
namespace
{
typedef std::pair<U_UTF16String, U_UTF16String> Delimiters; // left, right

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
    const U_UTF16String rest = text->substr(close);
    text->resize(open + left.size());
    *text += rest;
}
} // namespace

U_UTF16String StripQuotedContents(const U_UTF16String& text)
{
    U_UTF16String result = text;
    for (const Delimiters& delimiters : TheQuoteDelimiters())
        StripBetween(delimiters, &result);
    return result;
}
} // namespace telemetry
} // namespace U
