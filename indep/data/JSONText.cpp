// JSON literals, and trees written as text.

#include "indep/data/JSON.h"

#include <algorithm>
#include <cstring>
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

// Returns the unit of an escape of one character, 0 if the character is no escape.
U_u16 Unescaped(U_u16 escape)
{
    static const char kEscapes[] = "\"\\/bfnrt";
    static const char kUnits[] = "\"\\/\b\f\n\r\t";
    const char* const found =
        escape < 0x80 ? std::strchr(kEscapes, static_cast<char>(escape)) : nullptr;
    return found ? static_cast<U_u16>(kUnits[found - kEscapes]) : U_u16(0);
}

// Reads a literal of plain units and short escapes, as most are, without a conversion to UTF-8.
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
        const U_u16 unit = *end == '\\' && end + 1 != last ? Unescaped(end[1]) : U_u16(0);
        if (!unit)
            return false;
        text->push_back(unit);
        at = end + 2;
    }
    return true;
}

template <std::size_t size> bool Reads(const U_UTF16String& text, const char (&word)[size])
{
    return std::equal(text.begin(), text.end(), word, word + size - 1);
}

void AppendLines(const U_AnyTree& tree, std::size_t level, U_UTF16String* text)
{
    for (const auto& [key, child] : tree)
    {
        text->append(level, '\t');
        *text += key;
        AppendASCII(": ", text);
        *text += child.data().GetAs_Str();
        text->push_back('\n');
        AppendLines(child, level + 1, text);
    }
}
} // namespace

// Writes a tree as JSON into one text.
class Up_JSONWriter
{
public:
    U_UTF16String& WriteTree(const U_AnyTree& tree, char open, char close)
    {
        mJSON.push_back(static_cast<U_u16>(open));
        bool isFirst = true;
        for (const auto& [key, child] : tree)
        {
            if (!isFirst)
                mJSON.push_back(',');
            isFirst = false;
            if (!key.empty())
            {
                AppendJSONString(key, &mJSON);
                mJSON.push_back(':');
            }
            WriteNode(child);
        }
        mJSON.push_back(static_cast<U_u16>(close));
        return mJSON;
    }

private:
    void WriteNode(const U_AnyTree& node)
    {
        if (node.data().GetType() != U_Any::kType_Tree)
            node.data().AppendJSON(&mJSON);
        else if (node.empty())
            AppendASCII("null", &mJSON);
        else if (U_AnyTreeWrapper(node).is_array())
            WriteTree(node, '[', ']');
        else
            WriteTree(node, '{', '}');
    }

    U_UTF16String mJSON;
};

U_i64 IntegerInText(const U_UTF16String& text)
{
    if (Reads(text, "TRUE") || Reads(text, "true"))
        return 1;
    if (Reads(text, "FALSE") || Reads(text, "false"))
        return 0;
    U_i64 value = 0;
    krobase::utility::StringToNumber(value, text, kReadFlags);
    return value;
}

double DoubleInText(const U_UTF16String& text)
{
    double value = 0;
    krobase::utility::StringToNumber(value, text, kReadFlags);
    return value;
}

U_UTF16String ReadJSONString(const U_u16* first, const U_u16* last)
{
    U_UTF16String text;
    if (ReadShortLiteral(first, last, &text))
        return text;
    const auto parsed = krobase::serialization::JSONParse(U_UTF16String(first, last));
    return U_UTF8To16String(boost::any_cast<const U_UTF8String&>(*parsed));
}

void AppendJSONString(const U_UTF16String& text, U_UTF16String* json)
{
    if (!std::all_of(text.begin(), text.end(), &IsPlain))
    {
        *json += krobase::serialization::GetJSONString(U_UTF16To8String(text), false);
        return;
    }
    json->push_back(kQuote);
    *json += text;
    json->push_back(kQuote);
}

U_UTF16String U_AnyTreeWrapper::GetAs_JSON() const
{
    return std::move(Up_JSONWriter().WriteTree(*mTree, '{', '}'));
}

U_UTF16String U_AnyTreeWrapper::GetAs_Str() const
{
    U_UTF16String text;
    AppendLines(*mTree, 0, &text);
    return text;
}
