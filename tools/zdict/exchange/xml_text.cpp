#include "exchange/xml_text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <utility>

#include <boost/nowide/utf/convert.hpp>

#include <platform/base/code_units.h>

#include "exchange/exchange_text.h"
#include "messages.h"

namespace
{
const std::size_t kLongestReference = 12; // "&#x0010FFFF;"

bool BeginsWith(const std::string& text, std::size_t at, const char* what)
{
    return text.compare(at, std::strlen(what), what) == 0;
}

// Returns whether an entity is one of XML itself, or the number of a character.
bool IsKnownEntity(const std::string& name)
{
    if (name.size() < 2 || name[0] != '#')
        return name == "amp" || name == "lt" || name == "gt" || name == "quot" || name == "apos";
    const bool isHex = name[1] == 'x';
    const std::string digits = name.substr(isHex ? 2 : 1);
    const char* const allowed = isHex ? "0123456789abcdefABCDEF" : "0123456789";
    if (digits.empty() || digits.find_first_not_of(allowed) != std::string::npos)
        return false;
    const unsigned long number = std::strtoul(digits.c_str(), nullptr, isHex ? 16 : 10);
    std::string character;
    std::size_t length;
    return AppendCodePoint(number, &character) && !BeginsWith(character, 0, "#{") &&
           IsXMLCharacter(character.data(), character.size(), &length);
}

std::string FromUTF16(const std::vector<unsigned char>& bytes, bool isBigEndian)
{
    std::u16string units(bytes.size() / 2 - 1, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        const unsigned int first = bytes[2 * i + 2];
        const unsigned int second = bytes[2 * i + 3];
        units[i] = static_cast<char16_t>(isBigEndian ? first << 8 | second : second << 8 | first);
    }
    return boost::nowide::utf::convert_string<char>(units.data(), units.data() + units.size());
}

std::string FromLatin1(const std::string& bytes)
{
    std::string text;
    for (const char byte : bytes)
        AppendCodePoint(static_cast<unsigned char>(byte), &text);
    return text;
}

std::size_t WellFormedHead(std::string_view text)
{
    std::size_t at = 0;
    while (at != text.size())
    {
        const std::size_t length = platform::WellFormedLength(text.substr(at));
        if (!length)
            break;
        at += length;
    }
    return at;
}

// Returns the next node in the order of the document, or null.
pugi::xml_node NextNode(pugi::xml_node node)
{
    if (node.first_child())
        return node.first_child();
    while (node && !node.next_sibling())
        node = node.parent();
    return node.next_sibling();
}

// Returns the encoding that the declaration names, in upper case, or an empty text.
std::string DeclaredEncoding(const std::string& text)
{
    const std::string declaration =
        BeginsWith(text, 0, "<?xml") ? text.substr(0, text.find("?>")) : std::string();
    const std::size_t name = declaration.find("encoding");
    const std::size_t open = declaration.find_first_of("\"'", name);
    if (name == std::string::npos || open == std::string::npos)
        return std::string();
    const std::size_t close = declaration.find(declaration[open], open + 1);
    std::string encoding = declaration.substr(open + 1, close - open - 1);
    for (char& letter : encoding)
        letter = letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    return encoding;
}
} // namespace

XMLText::XMLText(InputFile file) : mFile(file.mName)
{
    Decode(file);
    file.mBytes = std::vector<unsigned char>(); // to save the memory for the tree
    FindLines();
    RequireSimple();
    // Blanks between elements are kept, since they may separate two elements of a text.
    const pugi::xml_parse_result result = mDocument.load_buffer_inplace(
        mText.data(), mText.size(), pugi::parse_default | pugi::parse_ws_pcdata,
        pugi::encoding_utf8);
    if (!result)
        Fail(static_cast<std::size_t>(result.offset), result.description());
    RequireWellFormed();
}

Place XMLText::PlaceOf(pugi::xml_node node) const
{
    // The offset is that of the name after the "<".
    return PlaceOf(static_cast<std::size_t>(std::max<std::ptrdiff_t>(node.offset_debug(), 1) - 1));
}

Place XMLText::PlaceOf(std::size_t offset) const
{
    const auto next = std::upper_bound(mLines.begin(), mLines.end(), offset);
    return {static_cast<std::uint64_t>(next - mLines.begin()), offset - *(next - 1) + 1};
}

void XMLText::Decode(const InputFile& file)
{
    const std::vector<unsigned char>& bytes = file.mBytes;
    const auto begins = [&](std::initializer_list<unsigned char> mark) {
        return bytes.size() >= mark.size() && std::equal(mark.begin(), mark.end(), bytes.begin());
    };
    if (begins({0xFF, 0xFE}) || begins({0xFE, 0xFF}))
    {
        mText = bytes.size() % 2 ? std::string() : FromUTF16(bytes, begins({0xFE, 0xFF}));
        if (mText.empty())
            throw Failure{kFaulty, mFile, "it isn't UTF-16"};
        return;
    }
    mText.assign(bytes.begin() + (begins({0xEF, 0xBB, 0xBF}) ? 3 : 0), bytes.end());
    const std::string encoding = DeclaredEncoding(mText);
    if (encoding == "ISO-8859-1")
        mText = FromLatin1(mText);
    else if (!encoding.empty() && encoding != "UTF-8" && encoding != "US-ASCII")
        Fail(0, encoding == "UTF-16" ? "it isn't UTF-16, which it declares"
                                     : "its encoding " + Quoted(encoding) + " isn't known");
    if (!IsUTF8(mText))
    {
        FindLines();
        Fail(WellFormedHead(mText), "it isn't UTF-8");
    }
}

void XMLText::FindLines()
{
    mLines = {0};
    for (std::size_t at = 0; (at = mText.find('\n', at)) != std::string::npos;)
        mLines.push_back(++at);
}

// The parser takes several roots, and several attributes of one name.
void XMLText::RequireWellFormed() const
{
    std::size_t roots = 0;
    std::vector<std::string_view> names; // of attributes
    for (pugi::xml_node node = mDocument.first_child(); node; node = NextNode(node))
    {
        if (node.type() != pugi::node_element)
            continue;
        roots += node.parent() == mDocument;
        if (roots > 1)
            Fail(node, "the document has a second root");
        names.clear();
        for (const pugi::xml_attribute attribute : node.attributes())
            names.push_back(attribute.name());
        std::sort(names.begin(), names.end());
        const auto twice = std::adjacent_find(names.begin(), names.end());
        if (twice != names.end())
            Fail(node, "the attribute " + Quoted(std::string(*twice)) + " is there twice");
    }
}

// The parser skips a document type, leaves unknown entities unchanged and takes control
// characters. Each of them would change texts.
void XMLText::RequireSimple() const
{
    struct Section
    {
        const char* mBegin;
        const char* mEnd;
    };
    const Section kSections[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
    const auto isControl = [](char byte) {
        return byte >= 0 && byte < ' ' && !std::strchr("\t\n\r", byte);
    };
    const auto control = std::find_if(mText.begin(), mText.end(),
                                      [&](char byte) { return !byte || isControl(byte); });
    if (control != mText.end())
        Fail(static_cast<std::size_t>(control - mText.begin()),
             "it holds a control character, which XML doesn't allow");
    for (std::size_t at = 0; (at = mText.find_first_of("<&", at)) != std::string::npos; ++at)
    {
        for (const Section& section : kSections)
        {
            if (BeginsWith(mText, at, section.mBegin))
                at = std::min(mText.find(section.mEnd, at + std::strlen(section.mBegin)),
                              mText.size() - 1);
        }
        if (BeginsWith(mText, at, "<!"))
            Fail(at, "a document type is refused, its entities and files are not read");
        const std::size_t end = mText[at] == '&' ? mText.find(';', at) : at;
        const bool isShort = end - at <= kLongestReference; // nor npos
        const std::string entity = mText.substr(at, isShort ? end - at + 1 : kLongestReference);
        if (mText[at] == '&' && (!isShort || !IsKnownEntity(entity.substr(1, entity.size() - 2))))
            Fail(at, "the entity " + Quoted(entity) + " isn't one of XML");
    }
}

void XMLText::Fail(pugi::xml_node node, const std::string& what) const
{
    throw Failure{kFaulty, At(mFile, PlaceOf(node)), what};
}

void XMLText::Fail(std::size_t offset, const std::string& what) const
{
    throw Failure{kFaulty, At(mFile, PlaceOf(offset)), what};
}

bool IsXMLCharacter(const char* text, std::size_t size, std::size_t* length)
{
    const auto byte = static_cast<unsigned char>(text[0]);
    *length = byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    *length = std::min(*length, size);
    const std::string character(text, *length);
    const bool isControl = byte < ' ' && !(byte && std::strchr("\t\n\r", byte));
    return !isControl && character != "\uFFFE" && character != "\uFFFF";
}

std::string LocalName(pugi::xml_node node)
{
    const std::string name = node.name();
    return name.substr(name.find(':') + 1);
}
