// Messages: placeholders filled with values.

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
#include "text/Numbers.h"

namespace
{
const std::size_t kMostBytes = 1023; // of a message in a buffer
const std::size_t kNone = U_UTF16String::npos;

// The types of a placeholder, in the order in which a digit's placeholders are looked for.
enum Type
{
    kString,
    kInteger,
    kNumber,
    kLongInteger,
    kTypeCount
};

// The letters of the types. Strings have none.
const U_u16 kLetters[kTypeCount] = {0, 'L', 'F', 'B'};

// An occurrence in a text.
struct Placeholder
{
    Type mType;
    std::size_t mStart;
    std::size_t mLength;
};

// A placeholder as it is written.
struct PlaceholderText
{
    PlaceholderText(Type type, int digit)
        : mUnits{'^', kLetters[type]}, mLength(type == kString ? 2 : 3)
    {
        mUnits[mLength - 1] = static_cast<U_u16>('0' + digit);
    }

    U_u16 mUnits[3];
    std::size_t mLength;
};

// The set of placeholders of a message. If a message has none, it is a template of
// krobase::utility::ReplaceInString, and the set holds its placeholders @0 to @9.
class PlaceholderSet
{
public:
    explicit PlaceholderSet(const U_UTF16String& format)
    {
        for (std::size_t caret = format.find('^'); caret != kNone;
             caret = format.find('^', caret + 1))
            Add(format, caret);
        if (std::none_of(std::begin(mTypes), std::end(mTypes), [](unsigned int t) { return t; }))
            AddOfTemplate(format);
    }

    bool Has(int digit, Type type) const { return mTypes[digit] >> type & 1; }
    bool operator==(const PlaceholderSet& other) const
    {
        return std::equal(std::begin(mTypes), std::end(mTypes), other.mTypes);
    }

private:
    // The unit after the caret may be the terminator.
    void Add(const U_UTF16String& format, std::size_t caret)
    {
        const U_u16* const letter = format.c_str() + caret + 1;
        int type = kLongInteger;
        while (type != kString && *letter != kLetters[type])
            --type;
        const U_u16 digit = type == kString ? letter[0] : letter[1];
        if (IsDigit(digit) && digit != '0')
            mTypes[digit - '0'] |= 1u << type;
    }

    void AddOfTemplate(const U_UTF16String& format)
    {
        for (std::size_t at = format.find('@'); at != kNone; at = format.find('@', at + 1))
        {
            const U_u16 digit = format.c_str()[at + 1];
            if (IsDigit(digit))
                mTypes[digit - '0'] |= 1u << kTypeCount;
        }
    }

    unsigned int mTypes[10] = {}; // by digit, a bit for each type; kTypeCount for "@0" to "@9"
};

// Finds the placeholder of a digit in the text so far. Only the message's own placeholders
// count: a value may hold text that looks like one.
bool FindPlaceholder(const U_UTF16String& work, const PlaceholderSet& set, int digit,
                     Placeholder* found)
{
    for (int i = 0; i < kTypeCount; ++i)
    {
        const Type type = static_cast<Type>(i);
        if (!set.Has(digit, type))
            continue;
        const PlaceholderText text(type, digit);
        const std::size_t start = work.find(text.mUnits, 0, text.mLength);
        if (start == kNone)
            continue;
        *found = {type, start, text.mLength};
        return true;
    }
    return false;
}

[[noreturn]] void ThrowWrongKind()
{
    throw BadArgument("U_SubString: an argument doesn't suit its place");
}

void FillString(U_UTF16String& work, const Placeholder& placeholder,
                const U_FormatArgument& argument)
{
    const bool isMultibyte = argument.mKind == U_FormatArgument::kMultibyte;
    if (isMultibyte && argument.mMultibyte)
        work.replace(placeholder.mStart, placeholder.mLength,
                     U_MBToUTF16String(argument.mMultibyte));
    else if (argument.mKind == U_FormatArgument::kUTF16 && argument.mUTF16)
        work.replace(placeholder.mStart, placeholder.mLength, argument.mUTF16);
    else
        ThrowWrongKind();
}

void FillInteger(U_UTF16String& work, const Placeholder& placeholder,
                 const U_FormatArgument& argument)
{
    const bool is32 = argument.mKind == U_FormatArgument::kInt32;
    if (!is32 && argument.mKind != U_FormatArgument::kInt64)
        ThrowWrongKind();
    const bool asInt = is32 && placeholder.mType == kInteger;
    const U_i64 value = asInt ? static_cast<int>(argument.mInteger) : argument.mInteger;
    char text[24];
    char* const end = std::to_chars(text, text + sizeof(text), value).ptr;
    work.replace(placeholder.mStart, placeholder.mLength, U_UTF16String(&text[0], end));
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

void FillNumber(U_UTF16String& work, const Placeholder& placeholder,
                const U_FormatArgument& argument)
{
    const double value = NumberOf(argument);
    const NumberSpec spec = ReadNumberSpec(work, placeholder.mStart + placeholder.mLength);
    char text[kLongestNum];
    const std::size_t length =
        FormatUnmarked(value, spec.mFlags, spec.mIntegerDigits,
                       static_cast<unsigned int>(spec.mDecimals), kMostPlainNum, text);
    U_UTF16String units(text, text + length);
    if (!(spec.mFlags & krobase::utility::kNumberNoLocaleMarks))
        krobase::utility::InternationalizeNum(units);
    work.replace(placeholder.mStart, placeholder.mLength + spec.mLength, units);
}

U_UTF16String Filled(const U_UTF16String& format, const U_FormatArgument* arguments,
                     std::size_t count)
{
    const PlaceholderSet set(format);
    U_UTF16String work = format;
    Placeholder found;
    for (int digit = 1; digit <= 9 && count > 0 && FindPlaceholder(work, set, digit, &found);
         ++digit)
    {
        const U_FormatArgument& argument = *arguments++;
        --count;
        if (found.mType == kString)
            FillString(work, found, argument);
        else if (found.mType == kNumber)
            FillNumber(work, found, argument);
        else
            FillInteger(work, found, argument);
    }
    return work;
}
} // namespace

U_UTF16String U_ZStringToFormat(const char* zstring)
{
    U_UTF16String english = U_ZStringToEnglishUTF16String(zstring);
    U_UTF16String text = U_ZStringToUTF16String(zstring);
    // Without an English text there is nothing to compare the translation with.
    if (english.empty() || PlaceholderSet(text) == PlaceholderSet(english))
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
