// JSON literals, and trees written as text.

#include "indep/data/JSON.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>
#include <utility>

#include <boost/any.hpp>

#include <krobase/format.h>
#include <krobase/json.h>
#include <platform/base/code_units.h>

#include "U_Encoding.h"

namespace
{
const unsigned int kReadFlags = krobase::utility::kReadNoLocaleMarks;
const U_u16 kQuote = '"';

// Returns true if a unit is the same inside a literal as outside.
inline bool IsPlain(U_u16 unit)
{
    const bool isSurrogate = platform::IsHighSurrogate(unit) || platform::IsLowSurrogate(unit);
    return unit >= 0x20 && unit != kQuote && unit != '\\' && !isSurrogate;
}

// A unit and the character after the backslash of its short escape. A slash is plain, so that only
// read texts have its escape.
struct ShortEscape
{
    char mUnit;
    char mEscape;
};
const ShortEscape kShortEscapes[] = {{'"', '"'},  {'\\', '\\'}, {'/', '/'},  {'\b', 'b'},
                                     {'\f', 'f'}, {'\n', 'n'},  {'\r', 'r'}, {'\t', 't'}};

// Returns the unit of a short escape, 0 if the character is none.
U_u16 UnitOf(U_u16 escape)
{
    for (const ShortEscape& known : kShortEscapes)
    {
        if (escape == static_cast<U_u16>(known.mEscape))
            return static_cast<U_u16>(known.mUnit);
    }
    return 0;
}

// Returns the short escape of a unit, 0 if the unit has none.
U_u16 EscapeOf(U_u16 unit)
{
    for (const ShortEscape& known : kShortEscapes)
    {
        if (unit == static_cast<U_u16>(known.mUnit))
            return static_cast<U_u16>(known.mEscape);
    }
    return 0;
}

// Appends a literal of plain units and short escapes, as most are, without a conversion to UTF-8.
// Returns false for any other text.
bool ReadShortLiteral(const U_u16* first, const U_u16* last, U_UTF16String* text)
{
    if (last - first < 2 || *first != kQuote || last[-1] != kQuote)
        return false;
    --last;
    text->reserve(static_cast<std::size_t>(last - first));
    for (const U_u16* at = first + 1; at != last;)
    {
        const U_u16* const end =
            std::find_if_not(at, last, [](U_u16 unit) { return IsPlain(unit); });
        text->append(at, end);
        if (end == last)
            break;
        const U_u16 unit = *end == '\\' && end + 1 != last ? UnitOf(end[1]) : U_u16(0);
        if (!unit)
            return false;
        text->push_back(unit);
        at = end + 2;
    }
    return true;
}

bool Reads(const U_u16* first, const U_u16* last, std::string_view word)
{
    return std::equal(first, last, word.begin(), word.end());
}

// Reads a number at the head of a text and within the range of its type.
template <class Number> bool ReadHead(const char* first, const char* last, U_Any* number)
{
    Number value = 0;
    if (std::from_chars(first, last, value).ec != std::errc())
        return false;
    *number = value;
    return true;
}

void AppendLines(const U_AnyTree& tree, std::size_t level, U_UTF16String* text)
{
    for (const auto& [key, child] : tree)
    {
        text->append(level, '\t');
        *text += key;
        text->push_back(':');
        text->push_back(' ');
        *text += child.data().GetAs_Str();
        text->push_back('\n');
        AppendLines(child, level + 1, text);
    }
}
} // namespace

void Up_JSONWriter::WriteTree(const U_AnyTree& tree, char open, char close)
{
    Put(open);
    Level level = {mLevel, tree.size(), 0};
    mLevel = &level;
    for (const auto& [key, child] : tree)
    {
        if (level.mWritten)
            Put(',');
        if (!key.empty())
        {
            PutString(key);
            Put(':');
        }
        WriteNode(child);
        ++level.mWritten;
    }
    mLevel = level.mOuter;
    Put(close);
}

void Up_JSONWriter::WriteNode(const U_AnyTree& node)
{
    if (node.data().GetType() != U_Any::kType_Tree)
        node.data().WriteJSON(this);
    else if (node.empty())
        PutASCII("null");
    else if (U_AnyTreeWrapper(node).is_array())
        WriteTree(node, '[', ']');
    else
        WriteTree(node, '{', '}');
}

void Up_JSONWriter::PutString(const U_UTF16String& text)
{
    // Surrogates, which may be alone, and control characters without a short escape are left to
    // the base library.
    U_u16* out = MakeRoom(2 * text.size() + 2);
    *out++ = kQuote;
    for (const U_u16 unit : text)
    {
        if (!IsPlain(unit))
        {
            const U_u16 escape = EscapeOf(unit);
            if (!escape)
            {
                const U_UTF16String literal =
                    krobase::serialization::GetJSONString(U_UTF16To8String(text), false);
                std::copy(literal.begin(), literal.end(), MakeRoom(literal.size()));
                mLength += literal.size();
                return;
            }
            *out++ = '\\';
            *out++ = escape;
            continue;
        }
        *out++ = unit;
    }
    *out++ = kQuote;
    mLength = static_cast<std::size_t>(out - mText.data());
}

// Returns the part of the outermost tree that is written, from 0 to 1.
double Up_JSONWriter::Progress() const
{
    double part = 0;
    for (const Level* level = mLevel; level; level = level->mOuter)
        part =
            (static_cast<double>(level->mWritten) + part) / static_cast<double>(level->mChildren);
    return part;
}

// Guesses the length of the whole text from the part that is written. A large text is fresh memory
// of the system, so each unit of room that stays unused costs time. A wrong guess makes the room at
// most 4 times as large, and at least 1.25 times. After three wrong guesses the room doubles at
// least: the last child of a tree may have nearly all of the text.
void Up_JSONWriter::Grow(std::size_t units)
{
    const std::size_t most = 4 * mText.size();
    const double progress = Progress();
    const double guess = progress > 0 ? static_cast<double>(mLength) * 17 / 16 / progress : 0;
    const bool isSure = guess < static_cast<double>(most);
    const std::size_t room = isSure ? static_cast<std::size_t>(guess) : most;
    mGuesses = std::min(mGuesses + isSure, 4u);
    const std::size_t least = mText.size() + mText.size() / 4 * mGuesses;
    U_UTF16String grown; // a text that grows at its place at least doubles its room
    grown.reserve(std::max({mLength + units, least, room}));
    grown.append(mText, 0, mLength);
    grown.resize(grown.capacity());
    mText.swap(grown);
}

U_UTF16String Up_JSONWriter::TakeText()
{
    const bool isSpacious = mText.capacity() / 2 > mLength; // a host may keep the text
    mText.resize(mLength);
    if (isSpacious)
        mText.shrink_to_fit();
    mLength = 0;
    return std::move(mText);
}

U_i64 IntegerInText(const U_u16* first, const U_u16* last)
{
    if (Reads(first, last, "TRUE") || Reads(first, last, "true"))
        return 1;
    if (Reads(first, last, "FALSE") || Reads(first, last, "false"))
        return 0;
    U_i64 value = 0;
    krobase::utility::StringToNumber(value, first, last, kReadFlags);
    return value;
}

double DoubleInText(const U_u16* first, const U_u16* last)
{
    double value = 0;
    krobase::utility::StringToNumber(value, first, last, kReadFlags);
    return value;
}

bool ReadUsualNumber(const U_u16* first, const U_u16* last, U_Any* number)
{
    char digits[32];
    if (last - first > std::ptrdiff_t(sizeof(digits)))
        return false;
    char* end = digits;
    bool isDouble = false;
    for (; first != last; ++first)
    {
        if (*first < '-' || *first > '9')
            return false;
        isDouble = isDouble || *first == '.';
        *end++ = static_cast<char>(*first);
    }
    return isDouble ? ReadHead<double>(digits, end, number) : ReadHead<U_i64>(digits, end, number);
}

void ReadJSONString(const U_u16* first, const U_u16* last, U_UTF16String* text)
{
    text->clear();
    if (ReadShortLiteral(first, last, text))
        return;
    const auto parsed = krobase::serialization::JSONParse(U_UTF16String(first, last));
    *text = U_UTF8To16String(boost::any_cast<const U_UTF8String&>(*parsed));
}

U_UTF16String U_AnyTreeWrapper::GetAs_JSON() const
{
    Up_JSONWriter writer;
    writer.WriteTree(*mTree, '{', '}');
    return writer.TakeText();
}

U_UTF16String U_AnyTreeWrapper::GetAs_Str() const
{
    U_UTF16String text;
    AppendLines(*mTree, 0, &text);
    return text;
}
