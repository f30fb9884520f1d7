// Messages with places for values.

#include "U_Format.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>

#include <krobase/format.h>

#include "U_Encoding.h"
#include "U_String.h"
#include "U_ZString.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"
#include "text/FormatNum.h"
#include "text/NumberForm.h"

namespace
{
const std::size_t kMostBytes = 1023; // of a message in a buffer
const std::size_t kNowhere = U_UTF16String::npos;

// The forms of a place, in the order in which they are looked for.
enum Form
{
    kString,
    kInteger,
    kNumber,
    kLongInteger,
    kFormCount
};

// The letters of the forms; the string's has none.
const U_u16 kLetters[kFormCount] = {0, 'L', 'F', 'B'};

struct Place
{
    Form mForm;
    std::size_t mStart;
    std::size_t mLength;
};

// A form of one digit as text.
struct FormText
{
    FormText(Form form, int digit) : mUnits{'^', kLetters[form]}, mLength(form == kString ? 2 : 3)
    {
        mUnits[mLength - 1] = static_cast<U_u16>('0' + digit);
    }

    U_u16 mUnits[3];
    std::size_t mLength;
};

// Which forms of which digits a message has. A message without any is one of
// krobase::utility::ReplaceInString, so its places @0 to @9 count.
class Forms
{
public:
    explicit Forms(const U_UTF16String& format)
    {
        for (std::size_t caret = format.find('^'); caret != kNowhere;
             caret = format.find('^', caret + 1))
            Note(format, caret);
        if (std::none_of(std::begin(mForms), std::end(mForms), [](unsigned int f) { return f; }))
            NoteForReplace(format);
    }

    bool Has(int digit, Form form) const { return mForms[digit] >> form & 1; }
    bool operator==(const Forms& other) const
    {
        return std::equal(std::begin(mForms), std::end(mForms), other.mForms);
    }

private:
    void Note(const U_UTF16String& format, std::size_t caret)
    {
        const U_u16* const letter = format.c_str() + caret + 1; // the terminator at the least
        int form = kLongInteger;
        while (form != kString && *letter != kLetters[form])
            --form;
        const U_u16 digit = form == kString ? letter[0] : letter[1];
        if (digit >= '1' && digit <= '9')
            mForms[digit - '0'] |= 1u << form;
    }

    void NoteForReplace(const U_UTF16String& format)
    {
        for (std::size_t at = format.find('@'); at != kNowhere; at = format.find('@', at + 1))
        {
            const U_u16 digit = format.c_str()[at + 1];
            if (digit >= '0' && digit <= '9')
                mForms[digit - '0'] |= 1u << kFormCount;
        }
    }

    unsigned int mForms[10] = {}; // by digit, a bit each; kFormCount for one of ReplaceInString
};

// Finds the place of a digit. A form counts only if the message has it as well
// as the text at work: one that a value brought in is no place.
bool FindPlace(const U_UTF16String& work, const Forms& forms, int digit, Place* place)
{
    for (int i = 0; i < kFormCount; ++i)
    {
        const Form form = static_cast<Form>(i);
        if (!forms.Has(digit, form))
            continue;
        const FormText text(form, digit);
        const std::size_t start = work.find(text.mUnits, 0, text.mLength);
        if (start == kNowhere)
            continue;
        *place = {form, start, text.mLength};
        return true;
    }
    return false;
}

[[noreturn]] void ThrowWrongKind()
{
    throw BadArgument("U_SubString: an argument doesn't suit its place");
}

void FillString(U_UTF16String& work, const Place& place, const U_FormatArgument& argument)
{
    const bool isMultibyte = argument.mKind == U_FormatArgument::kMultibyte;
    if (isMultibyte && argument.mMultibyte)
        work.replace(place.mStart, place.mLength, U_MBToUTF16String(argument.mMultibyte));
    else if (argument.mKind == U_FormatArgument::kUTF16 && argument.mUTF16)
        work.replace(place.mStart, place.mLength, argument.mUTF16);
    else
        ThrowWrongKind();
}

void FillInteger(U_UTF16String& work, const Place& place, const U_FormatArgument& argument)
{
    const bool is32 = argument.mKind == U_FormatArgument::kInt32;
    if (!is32 && argument.mKind != U_FormatArgument::kInt64)
        ThrowWrongKind();
    const bool asInt = is32 && place.mForm == kInteger;
    const U_i64 value = asInt ? static_cast<int>(argument.mInteger) : argument.mInteger;
    char text[24];
    char* const end = std::to_chars(text, text + sizeof(text), value).ptr;
    work.replace(place.mStart, place.mLength, U_UTF16String(&text[0], end));
}

double NumberOf(const U_FormatArgument& argument)
{
    switch (argument.mKind)
    {
    case U_FormatArgument::kInt32:
    case U_FormatArgument::kInt64:
        return static_cast<double>(argument.mInteger);
    case U_FormatArgument::kDouble:
        return argument.mDouble;
    default:
        ThrowWrongKind();
    }
}

void FillNumber(U_UTF16String& work, const Place& place, const U_FormatArgument& argument)
{
    const double value = NumberOf(argument);
    const NumberForm how = ReadNumberForm(work, place.mStart + place.mLength);
    char text[kLongestNum];
    const std::size_t length =
        FormatUnmarked(value, how.mFlags, how.mIntegerDigits,
                       static_cast<unsigned int>(how.mDecimals), kMostPlainNum, text);
    U_UTF16String units(text, text + length);
    if (!(how.mFlags & krobase::utility::kNumberNoLocaleMarks))
        krobase::utility::InternationalizeNum(units);
    work.replace(place.mStart, place.mLength + how.mLength, units);
}

U_UTF16String Filled(const U_UTF16String& format, const U_FormatArgument* arguments,
                     std::size_t count)
{
    const Forms forms(format);
    U_UTF16String work = format;
    Place place;
    for (int digit = 1; digit <= 9 && count > 0 && FindPlace(work, forms, digit, &place); ++digit)
    {
        const U_FormatArgument& argument = *arguments++;
        --count;
        if (place.mForm == kString)
            FillString(work, place, argument);
        else if (place.mForm == kNumber)
            FillNumber(work, place, argument);
        else
            FillInteger(work, place, argument);
    }
    return work;
}
} // namespace

U_UTF16String U_ZStringToFormat(const char* zstring)
{
    U_UTF16String english = U_ZStringToEnglishUTF16String(zstring);
    U_UTF16String text = U_ZStringToUTF16String(zstring);
    // A ZString of a key alone has no English text to compare the translation with.
    if (english.empty() || Forms(text) == Forms(english))
        return text;
    return english;
}

U_Status Up_SubString(U_UTF16String& out, const U_UTF16String& format,
                      const U_FormatArgument* arguments, std::size_t count)
{
    return Guarded([&] { out = Filled(format, arguments, count); });
}

U_Status Up_SubString(char* out, unsigned int size, const char* format,
                      const U_FormatArgument* arguments, std::size_t count)
{
    if (!out)
        return BadArgument("U_SubString: no buffer");
    const U_Status failure = Guarded([&] {
        if (!format)
            ThrowWrongKind();
        const U_UTF16String filled = Filled(U_MBToUTF16String(format), arguments, count);
        const std::size_t room =
            size ? std::min<std::size_t>(size, kMostBytes + 1) : kMostBytes + 1;
        U_CopyString(U_UTF16ToMBString(filled, false).c_str(), room, out);
    });
    if (failure)
        *out = 0;
    return failure;
}
