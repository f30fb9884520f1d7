#include "exchange/xml_reader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string_view>

#include <boost/nowide/utf/convert.hpp>
#include <boost/nowide/utf/utf.hpp>

#include "exchange/exchange_text.h"
#include "messages.h"

namespace
{
const std::size_t kLongestReference = 12; // "&#x0010FFFF;"

struct Section
{
    std::string_view mBegin;
    std::string_view mEnd;
    const char* mName;
};

const Section kSections[] = {{"<!--", "-->", "comment"},
                             {"<![CDATA[", "]]>", "CDATA section"},
                             {"<?", "?>", "processing instruction"}};

bool BeginsWith(std::string_view text, std::size_t at, std::string_view what)
{
    return text.substr(at, what.size()) == what;
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

std::string FromLatin1(std::string_view bytes)
{
    std::string text;
    for (const char byte : bytes)
        AppendCodePoint(static_cast<unsigned char>(byte), &text);
    return text;
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
std::string DeclaredEncoding(std::string_view text)
{
    const std::string declaration(BeginsWith(text, 0, "<?xml") ? text.substr(0, text.find("?>"))
                                                               : "");
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

XMLReader::XMLReader(const InputFile& file) : mFile(file.mName)
{
    Decode(file);
    RequireCharacters();
}

XMLReader::Step XMLReader::Next()
{
    if (mIsClosing)
    {
        mIsClosing = false;
        mOpen.pop_back();
        return kClosed;
    }
    if (!FindTag(&mTag))
    {
        if (!mOpen.empty())
            Fail(mText.size(),
                 "the document ends in the element " + Quoted(std::string(mOpen.back())));
        return kEnd;
    }
    if (mTag.mIsEnd)
    {
        if (mOpen.empty() || mOpen.back() != mTag.mName)
            Fail(mTag.mBegin,
                 "the end tag " + Quoted(std::string(mTag.mName)) + " belongs to no start tag");
        mOpen.pop_back();
        return kClosed;
    }
    if (mOpen.empty() && mHasRoot)
        Fail(mTag.mBegin, "the document has a second root");
    mHasRoot = true;
    mOpen.push_back(mTag.mName);
    mIsClosing = mTag.mIsEmpty;
    return kOpened;
}

pugi::xml_node XMLReader::Tag()
{
    mFragment = mText.substr(mTag.mBegin, mTag.mEnd - mTag.mBegin);
    if (!mTag.mIsEmpty)
        mFragment.insert(mFragment.size() - 1, 1, '/');
    return Parse(mTag.mBegin);
}

pugi::xml_node XMLReader::Content()
{
    TagText tag;
    for (std::size_t depth = mTag.mIsEmpty ? 0 : 1; depth;)
    {
        if (!FindTag(&tag))
            Fail(mText.size(),
                 "the document ends in the element " + Quoted(std::string(mTag.mName)));
        depth += tag.mIsEnd || tag.mIsEmpty ? 0 : 1;
        depth -= tag.mIsEnd ? 1 : 0;
    }
    mIsClosing = false;
    mOpen.pop_back();
    mFragment = mText.substr(mTag.mBegin, mAt - mTag.mBegin);
    return Parse(mTag.mBegin);
}

Place XMLReader::PlaceOf(pugi::xml_node node) const
{
    // The offset is that of the name after the "<".
    const std::ptrdiff_t offset = std::max<std::ptrdiff_t>(node.offset_debug(), 1) - 1;
    return PlaceOf(mFragmentBegin + static_cast<std::size_t>(offset));
}

// Places are asked for in ascending order, but for faults.
Place XMLReader::PlaceOf(std::size_t offset) const
{
    if (offset < mLineBegin)
    {
        mLineBegin = 0;
        mLine = 1;
    }
    for (std::size_t end; (end = mText.find('\n', mLineBegin)) < offset; ++mLine)
        mLineBegin = end + 1;
    return {mLine, offset - mLineBegin + 1};
}

// The parser skips a document type and leaves unknown entities unchanged. Each of them would change
// texts.
bool XMLReader::FindTag(TagText* tag)
{
    const auto isMarkup = [](char byte) { return byte == '<' || byte == '&'; };
    while (true)
    {
        // find_first_of takes five times as long.
        const auto found = std::find_if(mText.begin() + mAt, mText.end(), isMarkup);
        const auto at = static_cast<std::size_t>(found - mText.begin());
        if (at == mText.size())
            break;
        if (mText[at] == '&')
        {
            CheckEntity(at);
            mAt = at + 1;
            continue;
        }
        mAt = EndOfSection(at);
        if (mAt != at)
            continue;
        if (BeginsWith(mText, at, "<!"))
            Fail(at, "a document type is refused, its entities and files are not read");
        tag->mBegin = at;
        tag->mIsEnd = BeginsWith(mText, at, "</");
        const std::size_t name = at + (tag->mIsEnd ? 2 : 1);
        tag->mEnd = EndOfTag(at);
        tag->mIsEmpty = mText[tag->mEnd - 2] == '/' && !tag->mIsEnd;
        const std::size_t nameEnd = mText.find_first_of(" \t\r\n/>", name);
        tag->mName = mText.substr(name, nameEnd - name);
        mAt = tag->mEnd;
        return true;
    }
    mAt = mText.size();
    return false;
}

// Returns the end of the section that begins at an offset, or the offset.
std::size_t XMLReader::EndOfSection(std::size_t at) const
{
    for (const Section& section : kSections)
    {
        if (!BeginsWith(mText, at, section.mBegin))
            continue;
        const std::size_t end = mText.find(section.mEnd, at + section.mBegin.size());
        if (end == std::string_view::npos)
            Fail(at, std::string("the ") + section.mName + " has no end");
        return end + section.mEnd.size();
    }
    return at;
}

std::size_t XMLReader::EndOfTag(std::size_t begin) const
{
    char quote = '\0';
    for (std::size_t at = begin + 1;; ++at)
    {
        const char byte = at < mText.size() ? mText[at] : '<';
        if (byte == '<')
            Fail(begin, "the tag has no end");
        if (byte == '&')
            CheckEntity(at);
        else if (byte == '>' && !quote)
            return at + 1;
        else if (byte == quote)
            quote = '\0';
        else if ((byte == '"' || byte == '\'') && !quote)
            quote = byte;
    }
}

void XMLReader::CheckEntity(std::size_t at) const
{
    const std::size_t end = mText.substr(at, kLongestReference + 1).find(';');
    const bool hasEnd = end != std::string_view::npos;
    const std::string entity(mText.substr(at, hasEnd ? end + 1 : kLongestReference));
    if (!hasEnd || !IsKnownEntity(entity.substr(1, end - 1)))
        Fail(at, "the entity " + Quoted(entity) + " isn't one of XML");
}

pugi::xml_node XMLReader::Parse(std::size_t begin)
{
    mFragmentBegin = begin;
    // Blanks between elements are kept, since they may separate two elements of a text.
    const pugi::xml_parse_result result = mDocument.load_buffer_inplace(
        mFragment.data(), mFragment.size(), pugi::parse_default | pugi::parse_ws_pcdata,
        pugi::encoding_utf8);
    if (!result)
        Fail(begin + static_cast<std::size_t>(result.offset), result.description());
    RequireSingleAttributes();
    return mDocument.document_element();
}

// The parser takes several attributes of one name.
void XMLReader::RequireSingleAttributes() const
{
    std::vector<std::string_view> names;
    for (pugi::xml_node node = mDocument.first_child(); node; node = NextNode(node))
    {
        names.clear();
        for (const pugi::xml_attribute attribute : node.attributes())
            names.push_back(attribute.name());
        std::sort(names.begin(), names.end());
        const auto twice = std::adjacent_find(names.begin(), names.end());
        if (twice != names.end())
            throw FailureAt(mFile, PlaceOf(node),
                            "the attribute " + Quoted(std::string(*twice)) + " is there twice");
    }
}

void XMLReader::Decode(const InputFile& file)
{
    const std::vector<unsigned char>& bytes = file.mBytes;
    const auto begins = [&](std::initializer_list<unsigned char> mark) {
        return bytes.size() >= mark.size() && std::equal(mark.begin(), mark.end(), bytes.begin());
    };
    if (begins({0xFF, 0xFE}) || begins({0xFE, 0xFF}))
    {
        mDecoded = bytes.size() % 2 ? std::string() : FromUTF16(bytes, begins({0xFE, 0xFF}));
        if (mDecoded.empty())
            throw Failure{kFaulty, mFile, "it isn't UTF-16"};
        mText = mDecoded;
        return;
    }
    mText = std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    mText.remove_prefix(begins({0xEF, 0xBB, 0xBF}) ? 3 : 0);
    const std::string encoding = DeclaredEncoding(mText);
    if (encoding == "ISO-8859-1")
    {
        mDecoded = FromLatin1(mText);
        mText = mDecoded;
    }
    else if (!encoding.empty() && encoding != "UTF-8" && encoding != "US-ASCII")
        Fail(0, encoding == "UTF-16" ? "it isn't UTF-16, which it declares"
                                     : "its encoding " + Quoted(encoding) + " isn't known");
}

void XMLReader::RequireCharacters() const
{
    typedef boost::nowide::utf::utf_traits<char> UTF8;
    const char* const begin = mText.data();
    const char* const end = begin + mText.size();
    for (const char* next = begin; next != end;)
    {
        const char* const at = next;
        const auto byte = static_cast<unsigned char>(*at);
        if (byte >= ' ' && byte < 0x80)
            ++next;
        else if (!boost::nowide::utf::is_valid_codepoint(UTF8::decode(next, end)))
            Fail(static_cast<std::size_t>(at - begin), "it isn't UTF-8");
        else if (byte < ' ' && (!byte || !std::strchr("\t\n\r", byte)))
            Fail(static_cast<std::size_t>(at - begin),
                 "it holds a control character, which XML doesn't allow");
    }
}

void XMLReader::Fail(std::size_t offset, const std::string& what) const
{
    throw FailureAt(mFile, PlaceOf(offset), what);
}

bool IsXMLCharacter(const char* text, std::size_t size, std::size_t* length)
{
    const auto byte = static_cast<unsigned char>(text[0]);
    *length = byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    *length = std::min(*length, size);
    if (byte < ' ')
        return byte && std::strchr("\t\n\r", byte);
    const std::string_view character(text, *length);
    return byte != 0xEF || (character != "\uFFFE" && character != "\uFFFF");
}
