// Escaping of text for XML, and back.

#include "U_XML.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <krobase/format.h>
#include <platform/base/immortal.h>
#include <win32/machine.h>

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
#endif

bool IsIllegal(U_u8 byte)
{
    return byte < 0x20 && byte != 0 && byte != '\t' && byte != '\n' && byte != '\r';
}

typedef std::pair<char, std::string_view> Escape; // character, entity

class EscapeTable
{
public:
    explicit EscapeTable(std::vector<Escape> (*escapes)()) : mEscapes(escapes())
    {
        for (std::size_t byte = 0; byte < mForms.size(); ++byte)
            mForms[byte] = {{static_cast<char>(byte)}, byte >= 0x20 ? 1u : 0u};
        std::size_t markCount = 0;
        for (const auto& [character, entity] : mEscapes)
        {
            Form& form = mForms[static_cast<U_u8>(character)];
            entity.copy(form.mText, sizeof(form.mText));
            form.mLength = entity.size();
            if (character >= ' ')
                mMarks.at(markCount++) = static_cast<U_u8>(character);
        }
        std::fill(mMarks.begin() + markCount, mMarks.end(), mMarks[0]);
    }

    // Returns null if the text is none of the entities.
    const Escape* Find(std::string_view entity) const
    {
        const auto found =
            std::find_if(mEscapes.begin(), mEscapes.end(),
                         [=](const Escape& escape) { return escape.second == entity; });
        return found == mEscapes.end() ? nullptr : &*found;
    }

    // Returns the end of the blocks at `at` that are copied unchanged.
    const U_u8* SkipPlain(const U_u8* at, const U_u8* end) const
    {
#if defined(__x86_64__)
        if (win32::IsProcessorFeaturePresent(win32::kAVX2InstructionsAvailable))
            return SkipBlocksWithAVX2(at, end, mMarks);
#endif
        return SkipBlocksAnywhere(at, end, mMarks);
    }

    // Appends the escaped form of a block or a shorter text. Has no branch that depends on the
    // text, so that a text with many escapes takes as long as a text with few.
    void AppendEscaped(const U_u8* at, const U_u8* end, U_UTF8String& result) const
    {
        U_u8 escaped[kBlock * sizeof(Form::mText)];
        U_u8* next = escaped;
        for (; at != end; ++at)
        {
            const Form& form = mForms[*at];
            std::memcpy(next, form.mText, sizeof(form.mText));
            next += form.mLength;
        }
        result.append(escaped, static_cast<std::size_t>(next - escaped));
    }

private:
    // The escaped form of a byte. An illegal byte and 0 have none.
    struct Form
    {
        char mText[8];
        std::size_t mLength;
    };

    std::vector<Escape> mEscapes;
    Marks mMarks; // the escaped characters that are no control characters, padded with the first
    std::array<Form, 256> mForms;
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

void ReportIllegals(const U_u8* at, const U_u8* end, const U_UTF8String& text, bool throwOnIllegal)
{
    for (; (at = std::find_if(at, end, &IsIllegal)) != end; ++at)
    {
        ReportIllegal(*at, text);
        if (throwOnIllegal)
            throw 1;
    }
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
        const U_u8* const marked = table.SkipPlain(at, stop);
        result.append(at, static_cast<std::size_t>(marked - at));
        at = marked + std::min(kBlock, stop - marked);
        if (reportIllegal || throwOnIllegal)
            ReportIllegals(marked, at, text, throwOnIllegal);
        table.AppendEscaped(marked, at, result);
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
