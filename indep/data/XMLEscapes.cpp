// Escaping of text for XML, and back.

#include "U_XML.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <krobase/format.h>
#include <platform/base/immortal.h>

#include "U_Encoding.h"
#include "U_Report.h"
#include "U_ZString.h"
#include "indep/frame/BirthSteps.h"
#include "indep/frame/Guard.h"

namespace
{
const std::size_t kNowhere = std::string_view::npos;

typedef std::array<U_u8, 5> Marks;

const std::ptrdiff_t kBlock = 128;

// Returns non-zero for a control character or a mark. Has no branch, so that the compiler
// makes vector code of its callers.
inline U_u8 Matches(U_u8 byte, const Marks& marks)
{
    int found = byte < 0x20;
    found |= byte == marks[0];
    found |= byte == marks[1];
    found |= byte == marks[2];
    found |= byte == marks[3];
    found |= byte == marks[4];
    return static_cast<U_u8>(found);
}

// Returns the first block that holds such a byte, or the rest that is shorter than a block.
[[gnu::always_inline]] inline const U_u8* SkipBlocks(const U_u8* at, const U_u8* end, Marks marks)
{
    for (; end - at >= kBlock; at += kBlock)
    {
        U_u8 found = 0;
        for (std::ptrdiff_t i = 0; i < kBlock; ++i)
            found = static_cast<U_u8>(found | Matches(at[i], marks));
        if (found)
            break;
    }
    return at;
}

const U_u8* SkipBlocksAnywhere(const U_u8* at, const U_u8* end, const Marks& marks)
{
    return SkipBlocks(at, end, marks);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] const U_u8* SkipBlocksWithAVX2(const U_u8* at, const U_u8* end,
                                                       const Marks& marks)
{
    return SkipBlocks(at, end, marks);
}

const auto sSkipBlocks = __builtin_cpu_supports("avx2") ? &SkipBlocksWithAVX2 : &SkipBlocksAnywhere;
#else
const auto sSkipBlocks = &SkipBlocksAnywhere;
#endif

// Finds control characters and up to five marks in long runs of other bytes.
class ByteFinder
{
public:
    // REQUIRES: one to five marks.
    explicit ByteFinder(std::string_view marks)
    {
        for (std::size_t i = 0; i < mMarks.size(); ++i)
            mMarks[i] = static_cast<U_u8>(marks[std::min(i, marks.size() - 1)]);
    }

    // Returns the first control character or mark, `last` if there is none.
    const U_u8* Find(const U_u8* first, const U_u8* last) const
    {
        return std::find_if(sSkipBlocks(first, last, mMarks), last,
                            [this](U_u8 byte) { return Matches(byte, mMarks) != 0; });
    }

private:
    Marks mMarks; // padded with the last mark
};

typedef std::pair<char, std::string_view> Escape; // character, entity

class EscapeTable
{
public:
    explicit EscapeTable(std::vector<Escape> (*escapes)())
        : mEscapes(escapes()), mFinder(MarksOf(mEscapes))
    {
        for (const Escape& escape : mEscapes)
            mEntities[static_cast<U_u8>(escape.first)] = escape.second;
    }

    // Returns the empty text for a character without an entity or an illegal one.
    std::string_view EntityOf(U_u8 character) const { return mEntities[character]; }

    // Returns null if the text is none of the entities.
    const Escape* Find(std::string_view entity) const
    {
        const auto found =
            std::find_if(mEscapes.begin(), mEscapes.end(),
                         [=](const Escape& escape) { return escape.second == entity; });
        return found == mEscapes.end() ? nullptr : &*found;
    }

    // Returns the first character that is not copied unchanged.
    const U_u8* FindSpecial(const U_u8* at, const U_u8* end) const { return mFinder.Find(at, end); }

private:
    // Returns the escaped characters that are no control characters.
    static std::string MarksOf(const std::vector<Escape>& escapes)
    {
        std::string marks;
        for (const Escape& escape : escapes)
        {
            if (escape.first >= ' ')
                marks += escape.first;
        }
        return marks;
    }

    std::vector<Escape> mEscapes;
    ByteFinder mFinder;
    std::array<std::string_view, 256> mEntities;
};

std::vector<Escape> BodyEscapes()
{
    return {{'\t', "&#x9;"}, {'\n', "&#xA;"}, {'\r', "&#xD;"},
            {'&', "&amp;"},  {'<', "&lt;"},   {'>', "&gt;"}};
}

std::vector<Escape> AttributeEscapes()
{
    std::vector<Escape> escapes = BodyEscapes();
    escapes.emplace_back('"', "&quot;");
    escapes.emplace_back('\'', "&apos;");
    return escapes;
}

// Filled by birth, or by a use before birth. Never destroyed: static destructors may escape text
// too.
const EscapeTable& BodyTable()
{
    static platform::Immortal<EscapeTable> sBodyTable(&BodyEscapes);
    return *sBodyTable;
}

const EscapeTable& AttributeTable()
{
    static platform::Immortal<EscapeTable> sAttributeTable(&AttributeEscapes);
    return *sAttributeTable;
}

void ReportIllegal(U_u8 character, const U_UTF8String& text)
{
    const std::size_t kHead = 1024; // bytes, more than the shown units can have
    const unsigned int kShown = 128;
    U_UTF16String head = U_UTF8To16String(text.substr(0, kHead));
    U_TruncateStringToNumChars(&head, kShown);
    const U_UTF16String report = krobase::utility::ReplaceInString(
        U_ZStringToUTF16String("$$$/QX/U/IllegalXML=Illegal XML character \"@0\" in string \"@1\""),
        U_UTF16String(1, character), head);
    Up_ReportErrString(kModule, U_Sev_PROBLEM, U_UTF16ToMBString(report, false).c_str());
}

U_UTF8String Escaped(const U_UTF8String& text, const EscapeTable& table, bool reportIllegal,
                     bool throwOnIllegal)
{
    // A piece is copied while it is still in the cache from the search.
    const std::ptrdiff_t kPiece = 4096;
    U_UTF8String result;
    result.reserve(text.size());
    const U_u8* const end = text.data() + text.size();
    for (const U_u8* at = text.data(); at != end;)
    {
        const U_u8* const stop = at + std::min(kPiece, end - at);
        const U_u8* const special = table.FindSpecial(at, stop);
        result.append(at, special);
        at = special;
        if (special == stop)
            continue;
        const std::string_view entity = table.EntityOf(*special);
        result.append(entity.begin(), entity.end());
        const bool isIllegal = entity.empty() && *special != 0;
        if (isIllegal && (reportIllegal || throwOnIllegal))
            ReportIllegal(*special, text);
        if (isIllegal && throwOnIllegal)
            throw 1;
        ++at;
    }
    return result;
}

U_UTF8String Unescaped(const U_UTF8String& text, const EscapeTable& table)
{
    const std::string_view source(reinterpret_cast<const char*>(text.data()), text.size());
    U_UTF8String result;
    result.reserve(text.size());
    std::size_t done = 0;
    std::size_t from = 0; // the start of the search for the next "&"
    for (;;)
    {
        const std::size_t open = source.find('&', from);
        const std::size_t close = open == kNowhere ? kNowhere : source.find(';', open);
        if (close == kNowhere)
            break;
        from = close;
        if (const Escape* escape = table.Find(source.substr(open, close + 1 - open)))
        {
            result.append(text, done, open - done);
            result.push_back(static_cast<U_u8>(escape->first));
            done = from = close + 1;
        }
    }
    return result.append(text, done, kNowhere);
}
} // namespace

void Up_MakeXMLEscapes()
{
    BodyTable();
    AttributeTable();
}

U_UTF8String U_EscapeAttributeValueToSafeXML(const U_UTF8String& text, bool reportIllegal,
                                             bool throwOnIllegal)
{
    return Escaped(text, AttributeTable(), reportIllegal, throwOnIllegal);
}

U_UTF8String U_EscapeBodyTextToSafeXML(const U_UTF8String& text, bool reportIllegal,
                                       bool throwOnIllegal)
{
    return Escaped(text, BodyTable(), reportIllegal, throwOnIllegal);
}

U_UTF8String U_UnEscapeXMLAttributeValue(const U_UTF8String& text)
{
    return Unescaped(text, AttributeTable());
}

U_UTF8String U_UnEscapeXMLBodyText(const U_UTF8String& text)
{
    return Unescaped(text, BodyTable());
}
