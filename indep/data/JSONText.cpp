#include "indep/data/JSONText.h"

#include <algorithm>

#include <boost/any.hpp>

#include <krobase/json.h>

#include "U_Encoding.h"

namespace
{
const U_u16 kQuote = '"';

// Whether text is the same inside a literal as outside. Most text is, which
// saves it the way through UTF-8.
bool IsPlain(const U_u16* first, const U_u16* last)
{
    return std::all_of(first, last, [](U_u16 unit) {
        const bool isSurrogate = (unit & 0xF800) == 0xD800;
        return unit >= 0x20 && unit != kQuote && unit != '\\' && !isSurrogate;
    });
}

// Between the quotes, if they are there and what is between is plain.
bool IsPlainLiteral(const U_u16* first, const U_u16* last)
{
    return last - first >= 2 && *first == kQuote && last[-1] == kQuote &&
           IsPlain(first + 1, last - 1);
}
} // namespace

U_UTF16String ReadJSONString(const U_u16* first, const U_u16* last)
{
    if (IsPlainLiteral(first, last))
        return U_UTF16String(first + 1, last - 1);
    const auto parsed = krobase::serialization::JSONParse(U_UTF16String(first, last));
    return U_UTF8To16String(boost::any_cast<const U_UTF8String&>(*parsed));
}

void AppendJSONString(const U_UTF16String& text, U_UTF16String* json)
{
    if (!IsPlain(text.data(), text.data() + text.size()))
    {
        *json += krobase::serialization::GetJSONString(U_UTF16To8String(text), false);
        return;
    }
    json->push_back(kQuote);
    *json += text;
    json->push_back(kQuote);
}
