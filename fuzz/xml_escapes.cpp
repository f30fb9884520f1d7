// Replaces entities, and escapes text. Escaped text holds no mark of XML, and is restored
// without its illegal characters.

#include <algorithm>
#include <cstdint>

#include "U_Report.h"
#include "U_XML.h"
#include "code_thrown.h"
#include "library.h"

namespace
{
bool IsIllegal(U_u8 character)
{
    return character < ' ' && character != '\t' && character != '\n' && character != '\r';
}

// A text, or an attribute's value for every other size.
void RequireRestored(const U_UTF8String& text, bool isAttribute, bool reports, bool throws)
{
    const auto unescaped = isAttribute ? &U_UnEscapeXMLAttributeValue : &U_UnEscapeXMLBodyText;
    const auto escape = isAttribute ? &U_EscapeAttributeValueToSafeXML : &U_EscapeBodyTextToSafeXML;
    Require(unescaped(text).size() <= text.size());
    const auto reportable = std::count_if(
        text.begin(), text.end(), [](U_u8 character) { return character && IsIllegal(character); });
    U_u32 before = 0;
    U_u32 after = 0;
    U_UTF8String escaped;
    U_GetHowManyErrors(&before);
    const int code = CodeThrown([&] { escaped = escape(text, reports, throws); });
    U_GetHowManyErrors(&after);
    Require(code == (throws && reportable) &&
            after - before == (reports && !throws ? reportable : code));
    if (code)
        return;
    for (const U_u8 character : escaped)
        Require(character >= ' ' && character != '<' &&
                !(isAttribute && (character == '"' || character == '\'')));
    U_UTF8String legal = text;
    legal.erase(std::remove_if(legal.begin(), legal.end(), &IsIllegal), legal.end());
    Require(unescaped(escaped) == legal);
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    BeBorn();
    return 0;
}

// One text in eight begins with most of a block of 128 plain bytes, which the library copies. Of
// three in sixteen the illegal characters are reported, or throw: a report takes long.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::size_t kind = size / 2 % 16;
    const U_UTF8String plain(kind % 8 ? 0 : 120, 'a');
    RequireRestored(plain + U_UTF8String(data, size), size % 2 != 0, kind == 1 || kind == 3,
                    kind == 2 || kind == 3);
    return 0;
}
