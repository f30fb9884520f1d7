// Messages: placeholders filled with values.
//
// The code for filling exists for UTF-16 and for narrow text. Narrow text is ASCII: a narrow
// message with other characters, or with such values, is filled as UTF-16.

#include "U_Format.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <forward_list>
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

    // Returns true if the message has a caret that is not the start of a placeholder.
    bool HasOtherCarets() const { return mHasOtherCarets; }

    // The offset of the first such placeholder. REQUIRES: Has(digit, type).
    std::size_t Start(int digit, Type type) const { return mStarts[digit][type]; }

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

// A message and its values. Text is U_UTF16String or std::string.
//
// The values are put into the message at the end, in one pass. If a value, the form of a number, or
// the message beside its placeholders has a caret, the values may make or complete placeholders.
// From then on each value is put into the message at once, and the next placeholder is searched
// for.
template <class Text> class Message
{
    typedef typename Text::value_type Unit;
    typedef std::basic_string_view<Unit> View;

public:
    // `marks` are those of numbers. Without them, each number asks for the user's marks.
    Message(View format, const NumberMarks* marks)
        : mText(format), mSet(format), mSearches(mSet.HasOtherCarets()), mMarks(marks)
    {
    }

    Text Filled(const U_FormatArgument* arguments, std::size_t count)
    {
        const U_FormatArgument* const end = arguments + count;
        Placeholder found;
        for (int digit = 1; digit <= 9 && arguments != end && Find(digit, &found); ++digit)
        {
            Fill(found, *arguments++);
            if (mSearches)
                PutValuesIn();
        }
        return WithValues();
    }

private:
    // A part of the message, and the value in its place.
    struct Value
    {
        std::size_t mStart;
        std::size_t mEnd;
        View mText;
    };

    // Finds the placeholder of a digit in the text so far. Only the message's own placeholders
    // count: a value may hold text that looks like one.
    bool Find(int digit, Placeholder* found) const
    {
        for (int i = 0; i < kTypeCount; ++i)
        {
            const Type type = static_cast<Type>(i);
            if (!mSet.Has(digit, type))
                continue;
            *found = {digit, type, mSet.Start(digit, type)};
            if (mSearches)
                found->mStart = Search(*found);
            if (found->mStart != kNone)
                return true;
        }
        return false;
    }

    // REQUIRES: all values are in the text.
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
        View text;
        if (argument.mKind == U_FormatArgument::kMultibyte && argument.mMultibyte)
        {
            if constexpr (sizeof(Unit) == 1)
                text = argument.mMultibyte;
            else
                text = mConverted.emplace_front(U_MBToUTF16String(argument.mMultibyte));
        }
        else if (argument.mKind == U_FormatArgument::kUTF16 && argument.mUTF16)
        {
            if constexpr (sizeof(Unit) == 1)
                ThrowWrongKind(); // IsASCII has refused such an argument
            else
                text = argument.mUTF16;
        }
        else
            ThrowWrongKind();
        AddValue(placeholder, 0, text);
    }

    void FillInteger(const Placeholder& placeholder, const U_FormatArgument& argument)
    {
        const bool is32 = argument.mKind == U_FormatArgument::kInt32;
        if (!is32 && argument.mKind != U_FormatArgument::kInt64)
            ThrowWrongKind();
        const bool asInt = is32 && placeholder.mType == kInteger;
        const U_i64 value = asInt ? static_cast<int>(argument.mInteger) : argument.mInteger;
        char text[kLongestNum];
        const char* const end = std::to_chars(text, std::end(text), value).ptr;
        AddNumber(placeholder, 0, text, static_cast<std::size_t>(end - text),
                  krobase::utility::kPlainNumberMarks);
    }

    void FillNumber(Placeholder placeholder, const U_FormatArgument& argument)
    {
        const double value = NumberOf(argument);
        if (IsValueInSpec(placeholder.End()))
        {
            PutValuesIn();
            placeholder.mStart = Search(placeholder);
        }
        const NumberSpec spec = ReadNumberSpec(mText.substr(placeholder.End()));
        char text[kLongestNum];
        const std::size_t length =
            FormatUnmarked(value, spec.mFlags, spec.mIntegerDigits,
                           static_cast<unsigned int>(spec.mDecimals), kMostPlainNum, text);
        AddNumber(placeholder, spec.mLength, text, length, MarksFor(spec.mFlags, mMarks));
    }

    // Returns true if a value may be in the form of a number that starts at an offset.
    bool IsValueInSpec(std::size_t start) const
    {
        const Value* const next = FirstValueAfter(start);
        if (next == mValuesEnd)
            return false;
        const View between = mText.substr(start, next->mStart - start);
        return between.empty() || (between[0] == '@' && between.find('@', 1) == kNone);
    }

    void AddNumber(const Placeholder& placeholder, std::size_t specLength, const char* text,
                   std::size_t length, const NumberMarks& marks)
    {
        Unit* const units = mNumbers[placeholder.mDigit - 1];
        std::copy(text, text + length, units);
        SetMarks(marks, units, length);
        AddValue(placeholder, specLength, View(units, length));
    }

    const Value* FirstValueAfter(std::size_t start) const
    {
        return std::find_if<const Value*>(
            mValues, mValuesEnd, [=](const Value& value) { return value.mStart >= start; });
    }

    static bool HasCaret(View text)
    {
        return std::find(text.begin(), text.end(), Unit('^')) != text.end();
    }

    void AddValue(const Placeholder& placeholder, std::size_t specLength, View text)
    {
        mSearches =
            mSearches || HasCaret(text) || HasCaret(mText.substr(placeholder.End(), specLength));
        Value* const place = mValues + (FirstValueAfter(placeholder.mStart) - mValues);
        std::copy_backward(place, mValuesEnd, mValuesEnd + 1);
        *place = {placeholder.mStart, placeholder.End() + specLength, text};
        ++mValuesEnd;
    }

    Text WithValues() const
    {
        std::size_t length = mText.size();
        for (const Value* value = mValues; value != mValuesEnd; ++value)
            length += value->mText.size() - (value->mEnd - value->mStart);
        Text text(length, 0); // to append the pieces one by one takes longer
        Unit* next = text.data();
        std::size_t start = 0;
        for (const Value* value = mValues; value != mValuesEnd; ++value)
        {
            next += mText.copy(next, value->mStart - start, start);
            next += value->mText.copy(next, value->mText.size());
            start = value->mEnd;
        }
        mText.copy(next, kNone, start);
        return text;
    }

    void PutValuesIn()
    {
        mFolded = WithValues();
        mText = mFolded;
        mValuesEnd = mValues;
        mSearches = true;
    }

    View mText; // the message, or mFolded
    Text mFolded;
    PlaceholderSet mSet;
    bool mSearches; // else each placeholder is at its start in mSet
    const NumberMarks* mMarks;

    Value mValues[9]; // not yet in mText, in the order of their starts
    Value* mValuesEnd = mValues;

    // The numbers and converted texts to which mValues point: numbers by digit, texts in no order.
    Unit mNumbers[9][kLongestNum];
    std::forward_list<Text> mConverted;
};

template <class Text>
Text Filled(std::basic_string_view<typename Text::value_type> format,
            const U_FormatArgument* arguments, std::size_t count,
            const NumberMarks* marks = nullptr)
{
    return Message<Text>(format, marks).Filled(arguments, count);
}

PlaceholderSet SetOf(const U_UTF16String& format)
{
    return PlaceholderSet(std::basic_string_view<U_u16>(format));
}

bool IsASCII(std::string_view text)
{
    std::uint64_t bits = 0;
    for (; text.size() >= sizeof(bits); text.remove_prefix(sizeof(bits)))
    {
        std::uint64_t word;
        std::memcpy(&word, text.data(), sizeof(word));
        bits |= word;
    }
    for (const char c : text)
        bits |= static_cast<unsigned char>(c);
    return !(bits & 0x8080808080808080u);
}

// Returns true if the message with its values and marks is ASCII. All code pages have ASCII.
bool IsASCII(std::string_view format, const U_FormatArgument* arguments, std::size_t count,
             const NumberMarks& marks)
{
    const auto isASCII = [](const U_FormatArgument& argument) {
        const bool isText = argument.mKind == U_FormatArgument::kMultibyte && argument.mMultibyte;
        return isText ? IsASCII(argument.mMultibyte) : argument.mKind != U_FormatArgument::kUTF16;
    };
    return IsASCII(format) && marks.AreASCII() &&
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
        // Read once: a host may change the user's locale while a report is shown.
        const NumberMarks marks = krobase::utility::UserNumberMarks();
        const std::string filled =
            IsASCII(format, arguments, count, marks)
                ? Filled<std::string>(format, arguments, count, &marks)
                : U_UTF16ToMBString(
                      Filled<U_UTF16String>(U_MBToUTF16String(format), arguments, count), false);
        const std::size_t room =
            size ? std::min<std::size_t>(size, kMostBytes + 1) : kMostBytes + 1;
        U_CopyStringLen(filled.data(), filled.size(), room, out);
    });
    if (failure)
        *out = 0;
    return failure;
}
