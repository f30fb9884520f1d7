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

bool HasMark(const U_UTF8String& text)
{
    return std::any_of(text.begin(), text.end(),
                       [](U_u8 character) { return character == '<' || character < ' '; });
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const U_UTF8String text(data, data + size);
    Require(U_UnEscapeXMLBodyText(text).size() <= size);
    Require(U_UnEscapeXMLAttributeValue(text).size() <= size);

    U_UTF8String legal = text;
    legal.erase(std::remove_if(legal.begin(), legal.end(), &IsIllegal), legal.end());
    const U_UTF8String body = U_EscapeBodyTextToSafeXML(text, false, false);
    const U_UTF8String attribute = U_EscapeAttributeValueToSafeXML(text, false, false);
    Require(!HasMark(body) && !HasMark(attribute));
    Require(attribute.find('"') == U_UTF8String::npos &&
            attribute.find('\'') == U_UTF8String::npos);
    Require(U_UnEscapeXMLBodyText(body) == legal);
    Require(U_UnEscapeXMLAttributeValue(attribute) == legal);
    return 0;
}
