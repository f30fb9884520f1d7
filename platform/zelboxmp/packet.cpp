#include "private/packet.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include <platform/base/code_units.h>

namespace zelboxmp
{
namespace
{
const char kHead[] = "<?xpacket begin=\"\xEF\xBB\xBF\"?>"
                     "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
                     "<rdf:Description rdf:about=\"\"";
const char kTail[] = "</rdf:Description></rdf:RDF><?xpacket end=\"r\"?>";

// Whether a prefix may be declared for it. XML keeps two namespaces for prefixes
// of its own.
bool IsDeclarable(std::string_view space)
{
    return !space.empty() && space != "http://www.w3.org/XML/1998/namespace" &&
           space != "http://www.w3.org/2000/xmlns/";
}

bool IsNameStart(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsNamePart(char c)
{
    return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

bool IsName(std::string_view text)
{
    return !text.empty() && IsNameStart(text[0]) &&
           std::all_of(text.begin(), text.end(), &IsNamePart);
}

// The bytes of the character at the head of a text that isn't empty, 0 if it is
// none of XML's.
std::size_t CharacterLength(std::string_view text)
{
    const unsigned char lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r';
    const std::size_t length = platform::WellFormedLength(text);
    const bool isNone = text.substr(0, 3) == "\xEF\xBF\xBE" || text.substr(0, 3) == "\xEF\xBF\xBF";
    return isNone ? 0 : length;
}

std::string_view EntityOf(char c)
{
    switch (c)
    {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\t':
        return "&#x9;";
    case '\n':
        return "&#xA;";
    case '\r':
        return "&#xD;";
    default:
        return std::string_view();
    }
}

void AppendEscaped(std::string_view text, std::string* packet)
{
    while (!text.empty())
    {
        const std::size_t length = CharacterLength(text);
        if (!length)
            throw kErrorBadCharacter;
        const std::string_view entity = EntityOf(text[0]);
        *packet += entity.empty() ? text.substr(0, length) : entity;
        text.remove_prefix(length);
    }
}

std::string PrefixOf(std::size_t number)
{
    return "ns" + std::to_string(number);
}
} // namespace

std::string MakePacket(const Properties& properties)
{
    std::string packet = kHead;
    std::size_t number = 0;
    for (const auto& space : properties)
    {
        if (!IsDeclarable(space.first))
            throw kErrorBadName;
        packet += " xmlns:" + PrefixOf(++number) + "=\"";
        AppendEscaped(space.first, &packet);
        packet += '"';
    }
    packet += '>';
    number = 0;
    for (const auto& space : properties)
    {
        ++number;
        for (const auto& [name, value] : space.second)
        {
            if (!IsName(name))
                throw kErrorBadName;
            const std::string tag = PrefixOf(number) + ":" + name;
            packet += "<" + tag + ">";
            AppendEscaped(value, &packet);
            packet += "</" + tag + ">";
        }
    }
    return packet += kTail;
}
} // namespace zelboxmp
