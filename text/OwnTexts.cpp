#include "text/OwnTexts.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "U_LStr.h"
#include "U_Report.h"
#include "U_String.h"
#include "text/LStrTable.h"
#include "text/ZString.h"

namespace
{
struct Notation
{
    std::string_view mWritten;
    std::string_view mPlain;
};

constexpr Notation kNotations[] = {
    {"#{rsquo}", "'"},  {"#{ldquo}", "\""}, {"#{rdquo}", "\""},
    {"#{mdash}", "--"}, {"#{endl}", "\n"},  {"^^", "^"},
};

// A text with its notations replaced by ASCII. No replacement is longer than its notation.
template <std::size_t size> struct PlainText
{
    constexpr explicit PlainText(const char (&text)[size])
    {
        std::string_view rest(text, size - 1);
        std::size_t length = 0;
        while (!rest.empty())
        {
            Notation next = {rest.substr(0, 1), rest.substr(0, 1)};
            for (const Notation& notation : kNotations)
            {
                if (rest.substr(0, notation.mWritten.size()) == notation.mWritten)
                    next = notation;
            }
            for (char plain : next.mPlain)
                mText[length++] = plain;
            rest.remove_prefix(next.mWritten.size());
        }
    }

    char mText[size] = {};
};

// The number is part of the key by which translations find the row.
#define ROW(number, name, text)                                                                    \
    static_assert(kText##name == 1##number - 10000, "rows are in the order of their numbers");     \
    constexpr PlainText kPlain##name(text);
#include "text/OwnTexts.inc"
#undef ROW

// The texts of the last row are never read: a read of this address faults at once.
char* const kNeverRead = reinterpret_cast<char*>(UINTPTR_MAX);

char sName[] = "UOverride";

// The casts are safe: no function writes to a text of a table.
U_LStrRow sRows[] = {
#define ROW(number, name, text)                                                                    \
    {const_cast<char*>("$$$/QX/UOverride/LStr/" #number "=" text), nullptr,                        \
     const_cast<char*>(kPlain##name.mText), 0},
#include "text/OwnTexts.inc"
#undef ROW
    {nullptr, kNeverRead, kNeverRead, 0},
};

U_LStrCache sStrings = {sName, kOwnTextCount + 1, sRows, 0};

// Returns a text as U_ZLookupLStrCache does. A text that has been looked up is returned without
// the checks of a table.
const char* LookUp(U_u32 index, int* error)
{
    if (index < kOwnTextCount)
    {
        U_LStrRow& row = sRows[index];
        const U_ZLocale* const locale = ZLocale();
        if (char* text = LoadField(locale && locale->mAlive ? row.mLocal : row.mEnglish))
            return text;
    }
    return U_ZLookupLStrCache(&sStrings, static_cast<int>(index), 0, error);
}

const char kLonePercent = '%';

// Returns the letter of the next field of a format, 0 if there is none, and moves `format`
// after the field.
char NextField(const char*& format)
{
    while (*format)
    {
        if (*format++ != '%')
            continue;
        if (!*format)
            return kLonePercent;
        const char letter = *format++;
        if (letter != '%')
            return letter;
    }
    return 0;
}

// Returns true if both formats take the same values.
bool HaveSameFields(const char* format, const char* other)
{
    char letter = 0;
    do
    {
        letter = NextField(format);
        if (letter != NextField(other))
            return false;
    } while (letter);
    return true;
}

void FormatCut(char* out, std::size_t size, const char* format, std::va_list values)
{
    // One byte more than the limit, so that U_CopyString sees that a text is too long and cuts it
    // at a character boundary.
    char text[U_ReportTextSize + 1];
    std::vsnprintf(text, sizeof(text), format, values);
    U_CopyString(text, std::min(size, U_ReportTextSize), out);
}
} // namespace

char* Up_String(U_u32 index)
{
    return const_cast<char*>(LookUp(index, nullptr));
}

const char* Up_StringOrEnglish(OwnText text)
{
    int error = 0;
    const char* const found = LookUp(text, &error);
    return error ? Up_EnglishString(text) : found;
}

const char* Up_EnglishString(OwnText text)
{
    return sRows[text].mEnglish;
}

const char* Up_ZStringOf(OwnText text)
{
    return sRows[text].mZString;
}

const char* Up_FormatOf(OwnText text)
{
    const char* const format = Up_StringOrEnglish(text);
    const char* const english = Up_EnglishString(text);
    return HaveSameFields(format, english) ? format : english;
}

void Up_FormatString(OwnText text, char* out, std::size_t size, ...)
{
    std::va_list values;
    va_start(values, size);
    FormatCut(out, size, Up_FormatOf(text), values);
    va_end(values);
}

void Up_FormatText(char* out, std::size_t size, const char* format, ...)
{
    std::va_list values;
    va_start(values, format);
    FormatCut(out, size, format, values);
    va_end(values);
}
