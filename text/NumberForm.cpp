#include "text/NumberForm.h"

#include <algorithm>
#include <optional>
#include <set>

#include <krobase/format.h>

#include "U_Encoding.h"
#include "U_Report.h"
#include "indep/frame/Guard.h"

namespace
{
const U_u32 kNumberPlace = kModule | 0x1B;
const std::size_t kMostReported = 32; // unknown letters of a form

// What "%d" passes over.
bool IsWhiteSpace(U_u16 unit)
{
    return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

// Reads an integer as "%d" does, and moves on behind it; one too large for any
// number's text is held to that. Without digits *value stays as it is.
void ScanInteger(const U_u16*& next, const U_u16* end, int* value)
{
    const int kMost = 1000;
    const U_u16* at = std::find_if_not(next, end, &IsWhiteSpace);
    const bool isNegative = at != end && *at == '-';
    if (at != end && (*at == '-' || *at == '+'))
        ++at;
    if (at == end || *at < '0' || *at > '9')
        return;
    int scanned = 0;
    for (; at != end && *at >= '0' && *at <= '9'; ++at)
        scanned = std::min(scanned * 10 + (*at - '0'), kMost);
    *value = isNegative ? 0 : scanned;
    next = at;
}

void ReportUnknownLetter(U_u16 letter)
{
    const U_UTF16String text =
        U_AsciiToUTF16String("unknown format char '") + letter + U_AsciiToUTF16String("'");
    Up_ReportErrString(kNumberPlace, U_Sev_WARNING, U_UTF16ToMBString(text, false).c_str());
}

std::optional<unsigned int> OptionOf(U_u16 letter)
{
    using namespace krobase::utility;
    switch (letter)
    {
    case 'n':
        return kNumberNoLocaleMarks;
    case ' ':
        return kNumberPadWithSpaces;
    case 'z':
        return kNumberStripZeros;
    case 's':
        return kNumberGroup;
    case '+':
        return kNumberPlus;
    case 'p':
        return kNumberSpace;
    default:
        return std::nullopt;
    }
}

bool IsPartOfNumber(U_u16 unit)
{
    return (unit >= '0' && unit <= '9') || unit == '.';
}
} // namespace

NumberForm ReadNumberForm(const U_UTF16String& work, std::size_t start)
{
    NumberForm form = {krobase::utility::kNumberStripZeros, 1, 2, 0};
    if (start >= work.size() || work[start] != '@')
        return form;
    form.mFlags = 0;
    form.mLength = 1;
    const std::size_t second = work.find('@', start + 1);
    if (second == U_UTF16String::npos)
    {
        Up_ReportErrString(kNumberPlace, U_Sev_WARNING, "missing 2nd '@' in format string");
        return form;
    }

    form.mLength = second + 1 - start;
    const U_u16* const first = work.data() + start + 1;
    const U_u16* const end = work.data() + second;
    if (first != end && *first >= '0' && *first <= '9')
    {
        const U_u16* next = first;
        ScanInteger(next, end, &form.mIntegerDigits);
        if (next != end && *next == '.')
            ScanInteger(++next, end, &form.mDecimals);
    }
    // A form of many unknown letters comes from a hostile or damaged translation: one alert
    // for each would keep the user from the host. So a letter is reported once, and only the
    // first 32 are reported.
    std::set<U_u16> reported;
    for (const U_u16* letter = first; letter != end; ++letter)
    {
        if (IsPartOfNumber(*letter))
            continue;
        if (const std::optional<unsigned int> option = OptionOf(*letter))
            form.mFlags |= *option;
        else if (reported.size() < kMostReported && reported.insert(*letter).second)
            ReportUnknownLetter(*letter);
    }
    return form;
}
