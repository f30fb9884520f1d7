// The forms of numbers in messages, such as "@2.3zs@".

#include "text/Numbers.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include <krobase/format.h>

#include "U_Encoding.h"
#include "U_Report.h"
#include "indep/frame/Guard.h"

namespace
{
const U_u32 kNumberLocation = kModule | 0x1B;
const std::size_t kMostReported = 32; // unknown letters of a form

// The characters that "%d" skips.
bool IsWhiteSpace(U_u16 unit)
{
    return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

// Reads an integer as "%d" does and advances *next to its end. A negative integer counts as 0,
// and an integer above kMost as kMost, which is more than the text of any number needs. If there
// are no digits, neither *next nor *value changes.
template <class Unit> void ScanInteger(const Unit*& next, const Unit* end, int* value)
{
    const int kMost = 1000;
    const Unit* at = std::find_if_not(next, end, &IsWhiteSpace);
    const bool isNegative = at != end && *at == '-';
    if (at != end && (*at == '-' || *at == '+'))
        ++at;
    if (at == end || !IsDigit(*at))
        return;
    int scanned = 0;
    for (; at != end && IsDigit(*at); ++at)
        scanned = std::min(scanned * 10 + (*at - '0'), kMost);
    *value = isNegative ? 0 : scanned;
    next = at;
}

void ReportUnknownLetter(U_u16 letter)
{
    const U_UTF16String text =
        U_AsciiToUTF16String("unknown format char '") + letter + U_AsciiToUTF16String("'");
    Up_ReportErrString(kNumberLocation, U_Sev_WARNING, U_UTF16ToMBString(text, false).c_str());
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

} // namespace

template <class Unit> NumberSpec ReadNumberSpec(std::basic_string_view<Unit> text)
{
    NumberSpec spec = {krobase::utility::kNumberStripZeros, 1, 2, 0};
    if (text.empty() || text[0] != '@')
        return spec;
    spec.mFlags = 0;
    spec.mLength = 1;
    const std::size_t second = text.find('@', 1);
    if (second == std::basic_string_view<Unit>::npos)
    {
        Up_ReportErrString(kNumberLocation, U_Sev_WARNING, "missing 2nd '@' in format string");
        return spec;
    }

    spec.mLength = second + 1;
    const Unit* const first = text.data() + 1;
    const Unit* const end = text.data() + second;
    if (first != end && IsDigit(*first))
    {
        const Unit* next = first;
        ScanInteger(next, end, &spec.mIntegerDigits);
        if (next != end && *next == '.')
            ScanInteger(++next, end, &spec.mDecimals);
    }
    // A damaged or hostile translation may hold many unknown letters. An alert for each one
    // would keep the user from the host, so a letter is reported once, and at most
    // kMostReported letters are reported.
    Unit reported[kMostReported];
    Unit* reportedEnd = reported;
    for (const Unit* letter = first; letter != end; ++letter)
    {
        if (IsDigit(*letter) || *letter == '.')
            continue;
        if (const std::optional<unsigned int> option = OptionOf(*letter))
        {
            spec.mFlags |= *option;
            continue;
        }
        if (reportedEnd != std::end(reported) &&
            std::find(reported, reportedEnd, *letter) == reportedEnd)
        {
            *reportedEnd++ = *letter;
            ReportUnknownLetter(static_cast<U_u16>(*letter));
        }
    }
    return spec;
}

template NumberSpec ReadNumberSpec(std::string_view text);
template NumberSpec ReadNumberSpec(std::basic_string_view<U_u16> text);
