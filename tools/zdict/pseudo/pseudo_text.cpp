#include "pseudo/pseudo_text.h"

#include <algorithm>
#include <vector>

#include <hollin/Markers.h>

#include "lint/expanded_text.h"
#include "lint/parameters.h"
#include "lint/text_notes.h"
#include "lint/units.h"

namespace
{
const std::size_t kNone = std::u16string::npos;

const std::u16string_view kPlain = u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
const std::u16string_view kAccented = u"àƀçđéƒĝĥîĵķļɱñöþǫŕšţûṽŵẋýžÀƁÇĐÉƑĜĤÎĴĶĻṀÑÖÞǪŔŠŢÛṼŴẊÝŽ";
const std::u16string_view kBeforeOption = u"[(|,/\"'\u201C\u2018";
const std::u16string_view kShortcut = u" \b";
const std::u16string_view kPadding = u" one two three four five six seven eight nine ten";

// A right-to-left mark and an override, and the end of the override and a mark.
const std::u16string_view kOpenRightToLeft = u"\u200F\u202E";
const std::u16string_view kCloseRightToLeft = u"\u202C\u200F";

// How much is done to a text.
enum class Extent
{
    kAccents,  // as many characters as in English
    kBrackets, // two more
    kAll
};

char16_t Accented(char16_t unit)
{
    const std::size_t index = kPlain.find(unit);
    return index == kNone ? unit : kAccented[index];
}

bool IsDigit(char16_t unit)
{
    return unit >= '0' && unit <= '9';
}

// Returns whether a name in an address, an option or an entity may have the unit.
bool IsOfName(char16_t unit)
{
    return IsWordUnit(unit) || IsDigit(unit) || unit == '-' || unit == '_';
}

// What the units of a text are.
enum class Use : char
{
    kText,
    kKept, // for readers, but not changed
    kPlace // for programs
};

class Uses
{
public:
    Uses(std::u16string_view text) : mText(text), mUses(text.size(), Use::kText)
    {
        MarkRuns();
        MarkTags();
        MarkEntities();
        MarkPlaces();
        const std::string_view year = hollin::kCopyYearMarker;
        for (std::size_t at = hollin::FindMarker(text, year, 0); at != kNone;
             at = hollin::FindMarker(text, year, at + 1))
            Mark(at, at + year.size(), Use::kPlace);
    }

    Use Of(std::size_t unit) const { return mUses[unit]; }

    // Returns whether a reader reads a letter.
    bool HasLetters() const
    {
        for (std::size_t i = 0; i < mText.size(); ++i)
        {
            if (mUses[i] != Use::kPlace && IsWordUnit(mText[i]))
                return true;
        }
        return false;
    }

private:
    void Mark(std::size_t begin, std::size_t end, Use use)
    {
        for (std::size_t i = begin; i < std::min(end, mText.size()); ++i)
            mUses[i] = use;
    }

    // Marks the addresses and the options of command lines among the runs without blanks.
    void MarkRuns()
    {
        for (std::size_t begin = 0; begin < mText.size();)
        {
            const std::size_t end = EndOfRun(begin);
            MarkAddress(begin, end);
            MarkOption(begin, end);
            begin = end + 1;
        }
    }

    // Marks https://host.example/page, www.host.example and name@host.example. Quotes and
    // brackets may be around an address.
    void MarkAddress(std::size_t begin, std::size_t end)
    {
        while (begin != end && !IsOfName(mText[begin]))
            ++begin;
        while (begin != end && !IsOfName(mText[end - 1]) && mText[end - 1] != '/')
            --end;
        const std::u16string_view run = mText.substr(begin, end - begin);
        const std::size_t sign = run.find(u'@');
        const bool isMail = sign != kNone && sign && IsOfName(run[sign - 1]) &&
                            run.find(u'.', sign) != kNone && !HasPlace(run, sign);
        if (run.find(u"://") != kNone || run.substr(0, 4) == u"www." || isMail)
            Mark(begin, end, Use::kKept);
    }

    // Returns whether the sign is that of a place, as in @0.
    static bool HasPlace(std::u16string_view run, std::size_t sign)
    {
        const Parameters places(run);
        return std::any_of(places.mAll.begin(), places.mAll.end(),
                           [=](const Parameter& place) { return place.mBegin == sign; });
    }

    // Marks -v, --verbose and the name in --size=SIZE, also after [ and in lists such as -v|-q.
    void MarkOption(std::size_t begin, std::size_t end)
    {
        for (std::size_t at = mText.find(u'-', begin); at < end; at = mText.find(u'-', at))
        {
            const bool isHead = at == begin || kBeforeOption.find(mText[at - 1]) != kNone;
            std::size_t last = at;
            while (last != end && (IsOfName(mText[last])))
                ++last;
            if (isHead && mText.substr(at, last - at).find_first_not_of('-') != kNone)
                Mark(at, last, Use::kKept);
            at = last;
        }
    }

    // Marks <b>, </b> and <br/>, with their attributes.
    void MarkTags()
    {
        for (std::size_t at = mText.find(u'<'); at != kNone; at = mText.find(u'<', at + 1))
        {
            const std::size_t name = at + 1 + (mText.substr(at + 1, 1) == u"/" ? 1 : 0);
            const std::size_t end = mText.find_first_of(u"<>", name);
            if (end != kNone && mText[end] == '>' && IsWordUnit(mText[name]))
                Mark(at, end + 1, Use::kKept);
        }
    }

    // Marks &amp; and &#169;.
    void MarkEntities()
    {
        for (std::size_t at = mText.find(u'&'); at != kNone; at = mText.find(u'&', at + 1))
        {
            std::size_t end = at + 1;
            while (end != mText.size() && (IsOfName(mText[end]) || mText[end] == '#'))
                ++end;
            if (end > at + 1 && end != mText.size() && mText[end] == ';')
                Mark(at, end + 1, Use::kKept);
        }
    }

    void MarkPlaces()
    {
        const Parameters places(mText);
        for (const Parameter& place : places.mAll)
            Mark(place.mBegin, place.mFormatEnd, Use::kPlace);
        if (!places.HasFields())
            return;
        for (const Field& field : FieldsOf(mText))
            Mark(field.mBegin, field.mBegin + field.mWritten.size(), Use::kPlace);
    }

    std::size_t EndOfRun(std::size_t at) const
    {
        while (at != mText.size() && !IsBlank(mText[at]))
            ++at;
        return at;
    }

    const std::u16string_view mText;
    std::vector<Use> mUses;
};

// Writes one line.
class PseudoWriter
{
public:
    PseudoWriter(const RawLine& line, Direction direction, Extent extent)
        : mLine(line), mText(line), mDirection(direction), mExtent(extent)
    {
        const TextParts parts(mText.Units());
        mOut = u"\"$$$" + std::u16string(line.View(line.mKey, line.mKeyEnd)) + u"=";
        AppendPart(0, parts.mVariantEnd);
        AppendKept(parts.mVariantEnd, parts.mShown);
        AppendPart(parts.mShown, parts.mShownEnd);
        AppendKept(parts.mShownEnd, mText.Units().size());
        mOut += u'"';
    }

    const std::u16string& Line() const { return mOut; }

private:
    // Appends units as they are written. A caret or a backslash at the end of the text is no
    // notation there, but would be one before more text or the closing quote.
    void AppendKept(std::size_t begin, std::size_t end)
    {
        for (std::size_t unit = begin; unit != end; ++unit)
        {
            const bool isLast = unit + 1 == mText.Units().size();
            const std::u16string_view written = WrittenOf(unit);
            if (isLast && mText.Units()[unit] == '\\')
                mOut += u"#{5C}";
            else if (isLast && written == u"^")
                mOut += u"^^";
            else
                mOut += written;
        }
    }

    std::u16string_view WrittenOf(std::size_t unit) const
    {
        return mLine.View(mText.OffsetOf(unit), mText.OffsetOf(unit + 1));
    }

    void AppendPart(std::size_t begin, std::size_t end);
    void AppendBody(std::size_t begin, std::size_t end, const Uses& uses);
    void AppendPadding(std::size_t length);

    const RawLine& mLine;
    const ExpandedText mText;
    const Direction mDirection;
    const Extent mExtent;
    std::u16string mOut;
};

void PseudoWriter::AppendPart(std::size_t begin, std::size_t end)
{
    std::u16string_view part = std::u16string_view(mText.Units()).substr(begin, end - begin);
    part = part.substr(0, part.find(kShortcut)); // programs cut the text there
    const std::size_t head = BlankHead(part);
    if (head == part.size())
        return AppendKept(begin, end);
    const std::u16string_view body = part.substr(head, part.size() - head - BlankEnd(part));
    const Uses uses(body);
    if (!uses.HasLetters())
        return AppendKept(begin, end);
    const std::size_t bodyBegin = begin + head;
    const std::size_t bodyEnd = bodyBegin + body.size();
    AppendKept(begin, bodyBegin);
    mOut += mExtent == Extent::kAccents ? u"" : u"[";
    AppendBody(bodyBegin, bodyEnd, uses);
    if (mExtent == Extent::kAll)
        AppendPadding((CountCharacters(body) + 2) / 3);
    mOut += mExtent == Extent::kAccents ? u"" : u"]";
    AppendKept(bodyEnd, end);
}

void PseudoWriter::AppendBody(std::size_t begin, std::size_t end, const Uses& uses)
{
    const std::u16string_view body = std::u16string_view(mText.Units()).substr(begin, end - begin);
    const std::vector<std::size_t> mnemonics = MnemonicsOf(body);
    bool isOpen = false;
    for (std::size_t unit = begin; unit != end; ++unit)
    {
        // The mark of a mnemonic stays before its letter.
        const bool isMnemonic =
            std::binary_search(mnemonics.begin(), mnemonics.end(), unit - begin);
        const char16_t plain = mText.Units()[unit];
        const bool isText = uses.Of(unit - begin) == Use::kText && WrittenOf(unit).size() == 1;
        const bool isOfWord = isText && (IsWordUnit(plain) || isMnemonic);
        if (mDirection == Direction::kRightToLeft && isOfWord != isOpen)
        {
            mOut += isOfWord ? kOpenRightToLeft : kCloseRightToLeft;
            isOpen = isOfWord;
        }
        const char16_t accented = isText ? Accented(plain) : plain;
        if (accented != plain)
            mOut += accented;
        else
            AppendKept(unit, unit + 1);
    }
    mOut += isOpen ? kCloseRightToLeft : u"";
}

void PseudoWriter::AppendPadding(std::size_t length)
{
    for (std::size_t i = 0; i < length; ++i)
    {
        // A blank at the end would be lost in the bracket.
        const char16_t plain = kPadding[i % kPadding.size()];
        mOut += plain == ' ' && i + 1 == length ? u'~' : Accented(plain);
    }
}

// Returns how many characters of the line a reader sees.
std::size_t ShownLength(const std::u16string& units)
{
    RawLine line;
    line.mUnits = units;
    ParseParts(&line);
    const ExpandedText text(line);
    const TextParts parts(text.Units());
    return CountCharacters(
        std::u16string_view(text.Units()).substr(parts.mShown, parts.mShownEnd - parts.mShown));
}
} // namespace

std::u16string PseudoLine(const RawLine& line, Direction direction)
{
    const bool mayBeLimited = line.mUnits.find(u"max-length") != kNone;
    const std::size_t longest = mayBeLimited ? LongestOf(NoteOf(ExpandedText(line))) : 0;
    for (const Extent extent : {Extent::kAll, Extent::kBrackets})
    {
        std::u16string result = PseudoWriter(line, direction, extent).Line();
        if (!longest || ShownLength(result) <= longest)
            return result;
    }
    return PseudoWriter(line, Direction::kLeftToRight, Extent::kAccents).Line();
}
