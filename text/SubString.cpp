// Messages: placeholders filled with values.
//
// The code for filling exists for UTF-16 and for narrow text. Narrow text is ASCII: a narrow
// message with other characters, or with such values, is filled as UTF-16.

#include "U_Format.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>
#include <string_view>

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
const std::size_t kNone = std::string_view::npos;

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
const char kLetters[kTypeCount] = {0, 'L', 'F', 'B'};

// An occurrence in a text.
struct Placeholder
{
    int mDigit;
    Type mType;
    std::size_t mStart;

    std::size_t Length() const { return mType == kString ? 2 : 3; }
    std::size_t End() const { return mStart + Length(); }
};

// Returns the unit at an offset, or 0 for the end of the text.
template <class Unit> Unit UnitAt(std::basic_string_view<Unit> text, std::size_t offset)
{
    return offset < text.size() ? text[offset] : Unit(0);
}

// The set of placeholders of a message. If a message has none, it is a template of
// krobase::utility::ReplaceInString, and the set holds its placeholders @0 to @9.
class PlaceholderSet
{
public:
    template <class Unit> explicit PlaceholderSet(std::basic_string_view<Unit> format)
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

    // Returns true if each caret of the message is the start of a placeholder.
    bool HasNoOtherCarets() const { return !mHasOtherCarets; }

    // The offset of the first such placeholder. REQUIRES: Has(digit, type).
    std::size_t Start(int digit, Type type) const { return mStarts[digit][type]; }

    // Moves the starts of the placeholders of the later digits that are after `offset`.
    void MoveStarts(int digit, std::size_t offset, std::size_t oldLength, std::size_t newLength)
    {
        while (++digit <= 9)
        {
            for (int type = 0; type < kTypeCount && mTypes[digit] >> type; ++type)
            {
                std::size_t& start = mStarts[digit][type];
                if (Has(digit, static_cast<Type>(type)) && start > offset)
                    start = start - oldLength + newLength;
            }
        }
    }

private:
    template <class Unit> void Add(std::basic_string_view<Unit> format, std::size_t caret)
    {
        const Unit letter = UnitAt(format, caret + 1);
        int type = kLongInteger;
        while (type != kString && letter != static_cast<Unit>(kLetters[type]))
            --type;
        const Unit digit = type == kString ? letter : UnitAt(format, caret + 2);
        if (!IsDigit(digit) || digit == '0')
        {
            mHasOtherCarets = true;
            return;
        }
        const int number = digit - '0';
        if (!Has(number, static_cast<Type>(type)))
            mStarts[number][type] = caret;
        mTypes[number] |= 1u << type;
    }

    template <class Unit> void AddOfTemplate(std::basic_string_view<Unit> format)
    {
        for (std::size_t at = format.find('@'); at != kNone; at = format.find('@', at + 1))
        {
            const Unit digit = UnitAt(format, at + 1);
            if (IsDigit(digit))
                mTypes[digit - '0'] |= 1u << kTypeCount;
        }
    }

    unsigned int mTypes[10] = {}; // by digit, a bit for each type; kTypeCount for "@0" to "@9"
    std::size_t mStarts[10][kTypeCount];
    bool mHasOtherCarets = false;
};

[[noreturn]] void ThrowWrongKind()
{
    throw BadArgument("U_SubString: an argument doesn't suit its place");
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

// A message and its values so far. Text is U_UTF16String or std::string.
template <class Text> class Message
{
    typedef typename Text::value_type Unit;
    typedef std::basic_string_view<Unit> View;

public:
    Message(View format, std::size_t count) : mSet(format), mKnowsStarts(mSet.HasNoOtherCarets())
    {
        const std::size_t kUsualValue = 16; // units
        mText.reserve(format.size() + count * kUsualValue);
        mText = format;
    }

    // Fills the placeholders. Returns the text.
    Text Filled(const U_FormatArgument* arguments, std::size_t count)
    {
        const U_FormatArgument* const end = arguments + count;
        Placeholder found;
        for (int digit = 1; digit <= 9 && arguments != end && Find(digit, &found); ++digit)
            Fill(found, *arguments++);
        return std::move(mText);
    }

private:
    // Finds the placeholder of a digit in the text so far. Only the message's own placeholders
    // count: a value may hold text that looks like one.
    bool Find(int digit, Placeholder* found) const
    {
        for (int i = 0; i < kTypeCount; ++i)
        {
            const Type type = static_cast<Type>(i);
            if (!mSet.Has(digit, type))
                continue;
            *found = {digit, type, 0};
            found->mStart = mKnowsStarts ? mSet.Start(digit, type) : Search(*found);
            if (found->mStart != kNone)
                return true;
        }
        return false;
    }

    std::size_t Search(const Placeholder& placeholder) const
    {
        Unit text[3] = {'^', static_cast<Unit>(kLetters[placeholder.mType])};
        text[placeholder.Length() - 1] = static_cast<Unit>('0' + placeholder.mDigit);
        return mText.find(text, 0, placeholder.Length());
    }

    void Fill(const Placeholder& placeholder, const U_FormatArgument& argument)
    {
        if (placeholder.mType == kString)
            FillString(placeholder, argument);
        else if (placeholder.mType == kNumber)
            FillNumber(placeholder, argument);
        else
            FillInteger(placeholder, argument);
    }

    void FillString(const Placeholder& placeholder, const U_FormatArgument& argument)
    {
        const bool isMultibyte = argument.mKind == U_FormatArgument::kMultibyte;
        if (isMultibyte && argument.mMultibyte)
        {
            if constexpr (sizeof(Unit) == 1)
                Replace(placeholder, argument.mMultibyte, 0);
            else
                Replace(placeholder, U_MBToUTF16String(argument.mMultibyte), 0);
            return;
        }
        if constexpr (sizeof(Unit) > 1)
        {
            if (argument.mKind == U_FormatArgument::kUTF16 && argument.mUTF16)
                return Replace(placeholder, argument.mUTF16, 0);
        }
        ThrowWrongKind();
    }

    void FillInteger(const Placeholder& placeholder, const U_FormatArgument& argument)
    {
        const bool is32 = argument.mKind == U_FormatArgument::kInt32;
        if (!is32 && argument.mKind != U_FormatArgument::kInt64)
            ThrowWrongKind();
        const bool asInt = is32 && placeholder.mType == kInteger;
        const U_i64 value = asInt ? static_cast<int>(argument.mInteger) : argument.mInteger;
        char text[24];
        char* const end = std::to_chars(text, std::end(text), value).ptr;
        Unit units[sizeof(text)];
        std::copy(text, end, units);
        Replace(placeholder, View(units, static_cast<std::size_t>(end - text)), 0);
    }

    void FillNumber(const Placeholder& placeholder, const U_FormatArgument& argument)
    {
        const double value = NumberOf(argument);
        const NumberSpec spec = ReadNumberSpec(View(mText).substr(placeholder.End()));
        char text[kLongestNum];
        const std::size_t length =
            FormatUnmarked(value, spec.mFlags, spec.mIntegerDigits,
                           static_cast<unsigned int>(spec.mDecimals), kMostPlainNum, text);
        Unit units[kLongestNum];
        PutMarks(text, length, MarksFor(spec.mFlags), units);
        Replace(placeholder, View(units, length), spec.mLength);
    }

    // Replaces the placeholder that was found, and `specLength` units after it, by a value.
    //
    // As long as only placeholders have carets, the offset of a placeholder depends on the lengths
    // of the values before it alone, and Find need not search.
    void Replace(const Placeholder& placeholder, View value, std::size_t specLength)
    {
        const std::size_t length = placeholder.Length() + specLength;
        if (mKnowsStarts)
        {
            const View spec = View(mText).substr(placeholder.End(), specLength);
            mKnowsStarts = value.find('^') == kNone && spec.find('^') == kNone;
            mSet.MoveStarts(placeholder.mDigit, placeholder.mStart, length, value.size());
        }
        mText.replace(placeholder.mStart, length, value);
    }

    Text mText;
    PlaceholderSet mSet;
    bool mKnowsStarts; // false: Find searches
};

template <class Text>
Text Filled(std::basic_string_view<typename Text::value_type> format,
            const U_FormatArgument* arguments, std::size_t count)
{
    return Message<Text>(format, count).Filled(arguments, count);
}

PlaceholderSet SetOf(const U_UTF16String& format)
{
    return PlaceholderSet(std::basic_string_view<U_u16>(format));
}

bool IsASCII(std::string_view text)
{
    unsigned char bits = 0;
    for (const char c : text)
        bits |= static_cast<unsigned char>(c);
    return bits < 0x80;
}

// Returns true if the message with its values is ASCII. All code pages have ASCII.
bool IsASCII(std::string_view format, const U_FormatArgument* arguments, std::size_t count)
{
    const auto isASCII = [](const U_FormatArgument& argument) {
        const bool isText = argument.mKind == U_FormatArgument::kMultibyte && argument.mMultibyte;
        return isText ? IsASCII(argument.mMultibyte) : argument.mKind != U_FormatArgument::kUTF16;
    };
    return IsASCII(format) && krobase::utility::UserNumberMarks().AreASCII() &&
           std::all_of(arguments, arguments + count, isASCII);
}
} // namespace

U_UTF16String U_ZStringToFormat(const char* zstring)
{
    U_UTF16String english = U_ZStringToEnglishUTF16String(zstring);
    U_UTF16String text = U_ZStringToUTF16String(zstring);
    // Without an English text there is nothing to compare the translation with.
    if (english.empty() || SetOf(text) == SetOf(english))
        return text;
    return english;
}

U_Status Up_SubString(U_UTF16String& out, const U_UTF16String& format,
                      const U_FormatArgument* arguments, std::size_t count)
{
    return Guarded([&] { out = Filled<U_UTF16String>(format, arguments, count); });
}

U_Status Up_SubString(char* out, unsigned int size, const char* format,
                      const U_FormatArgument* arguments, std::size_t count)
{
    if (!out)
        return BadArgument("U_SubString: no buffer");
    const U_Status failure = Guarded([&] {
        if (!format)
            ThrowWrongKind();
        const std::string filled =
            IsASCII(format, arguments, count)
                ? Filled<std::string>(format, arguments, count)
                : U_UTF16ToMBString(
                      Filled<U_UTF16String>(U_MBToUTF16String(format), arguments, count), false);
        const std::size_t room =
            size ? std::min<std::size_t>(size, kMostBytes + 1) : kMostBytes + 1;
        U_CopyString(filled.c_str(), room, out);
    });
    if (failure)
        *out = 0;
    return failure;
}
