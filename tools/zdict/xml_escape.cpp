#include "xml_escape.h"

namespace
{
std::string EntityOf(char character)
{
    switch (character)
    {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    }
    return "&#" + std::to_string(static_cast<unsigned char>(character)) + ";";
}
} // namespace

void AppendEscaped(std::string_view text, const char* special, std::string* xml)
{
    bool isSpecial[256] = {}; // find_first_of takes several times as long
    for (; *special; ++special)
        isSpecial[static_cast<unsigned char>(*special)] = true;
    std::size_t done = 0;
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        if (!isSpecial[static_cast<unsigned char>(text[at])])
            continue;
        xml->append(text, done, at - done);
        *xml += EntityOf(text[at]);
        done = at + 1;
    }
    xml->append(text, done);
}
