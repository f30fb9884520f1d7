// Replaces entities, and escapes text. Escaped text holds no mark of XML, and is restored
// without its illegal characters.

#include <algorithm>
#include <cstdint>

#include "U_XML.h"
#include "require.h"

namespace
{
bool IsIllegal(U_u8 character)
{
    return character < ' ' && character != '\t' && character != '\n' && character != '\r';
}

// A text, or an attribute's value for every other size.
void RequireRestored(const U_UTF8String& text, bool isAttribute)
{
    const auto unescaped = isAttribute ? &U_UnEscapeXMLAttributeValue : &U_UnEscapeXMLBodyText;
    const auto escape = isAttribute ? &U_EscapeAttributeValueToSafeXML : &U_EscapeBodyTextToSafeXML;
    Require(unescaped(text).size() <= text.size());
    const U_UTF8String escaped = escape(text, false, false);
    for (const U_u8 character : escaped)
        Require(character >= ' ' && character != '<' &&
                !(isAttribute && (character == '"' || character == '\'')));
    U_UTF8String legal = text;
    legal.erase(std::remove_if(legal.begin(), legal.end(), &IsIllegal), legal.end());
    Require(unescaped(escaped) == legal);
}
} // namespace

// One text in eight begins with most of a block of 128 plain bytes, which the library copies.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const U_UTF8String plain(size / 2 % 8 ? 0 : 120, 'a');
    RequireRestored(plain + U_UTF8String(data, size), size % 2 != 0);
    return 0;
}
