#include "lint/expanded_text.h"

#include <algorithm>
#include <utility>

#include <hollin/Markers.h>
#include <hollin_private/Expansion.h>
#include <platform/base/code_units.h>

namespace
{
const std::size_t kNone = std::u16string::npos;
const std::size_t kLongestNotation = 9; // "#{" with six letters and "}"
const std::size_t kLongestQuote = 40;   // of an unknown notation
const std::size_t kMostUnknown = 20;    // of a text

// Returns what a load makes of a few units.
std::u16string Expanded(std::u16string_view written)
{
    std::uint16_t units[kLongestNotation];
    std::copy(written.begin(), written.end(), units);
    return std::u16string(units, units + hollin_private::ExpandText(units, written.size()));
}

bool IsDigit(char16_t unit)
{
    return unit >= '1' && unit <= '9';
}

// Returns the end of an unknown notation. The end is never inside a surrogate pair.
std::size_t EndOfCharacter(const RawLine& line, std::size_t end)
{
    const bool isSplit = end < line.mEntryEnd && platform::IsHighSurrogate(line.mUnits[end - 1]) &&
                         platform::IsLowSurrogate(line.mUnits[end]);
    return isSplit ? end + 1 : end;
}

// Returns whether a caret at the head begins a place, such as ^1 or ^L2.
bool BeginsPlace(std::u16string_view text)
{
    if (text.size() < 2 || text[0] != '^')
        return false;
    const bool hasLetter = text[1] == 'L' || text[1] == 'F';
    return hasLetter ? text.size() > 2 && IsDigit(text[2]) : IsDigit(text[1]);
}
} // namespace

void ExpandedText::Set(const RawLine& line)
{
    mText = line.mText;
    mUnits.clear();
    mOffsets.clear();
    mUnknown.clear();
    const std::u16string_view text = line.Text();
    const bool hasEscapes = text.find_first_of(u"^\\") != kNone;
    const bool hasCharacters = text.find(u"#{") != kNone || (hasEscapes && text.find('#') != kNone);
    if (!hasEscapes && !hasCharacters)
    {
        mUnits.assign(text);
        return;
    }
    ExpandEscapes(line);
    if (hasCharacters)
        ExpandCharacters(line);
}

// An introducer and the unit after it are expanded alone. What two units expand to depends on no
// other unit.
void ExpandedText::ExpandEscapes(const RawLine& line)
{
    for (std::size_t at = line.mText; at != line.mEntryEnd;)
    {
        const char16_t unit = line.mUnits[at];
        const bool isIntroducer = unit == '^' || unit == '\\';
        const std::size_t length = isIntroducer && at + 1 != line.mEntryEnd ? 2 : 1;
        const std::u16string_view written = line.View(at, at + length);
        const std::u16string result = length == 2 ? Expanded(written) : std::u16string(written);
        if (isIntroducer && result.size() == length && mUnknown.size() < kMostUnknown &&
            !BeginsPlace(line.View(at, line.mEntryEnd)))
            mUnknown.push_back({at, line.View(at, EndOfCharacter(line, at + length))});
        for (std::size_t i = 0; i < result.size(); ++i)
            mOffsets.push_back(at + i);
        mUnits += result;
        at += length;
    }
    mOffsets.push_back(line.mEntryEnd);
}

// The expansion of escapes comes first, so "#{" may be written with the escape of another
// character between its units.
void ExpandedText::ExpandCharacters(const RawLine& line)
{
    std::u16string units;
    std::vector<std::size_t> offsets;
    for (std::size_t at = 0; at != mUnits.size();)
    {
        std::size_t length = 1;
        std::u16string result(1, mUnits[at]);
        if (mUnits.compare(at, 2, u"#{") == 0)
        {
            std::u16string_view written = std::u16string_view(mUnits).substr(at, kLongestQuote);
            const std::size_t brace = written.find(u'}');
            written = written.substr(0, brace == kNone ? 2 : brace + 1);
            const bool mayBe = brace != kNone && written.size() <= kLongestNotation &&
                               written.find_first_of(u"^\\") == kNone;
            const std::u16string expanded = mayBe ? Expanded(written) : std::u16string(written);
            if (expanded.size() < written.size())
            {
                result = expanded;
                length = written.size();
            }
            else if (mUnknown.size() < kMostUnknown)
                mUnknown.push_back(
                    {mOffsets[at], line.View(mOffsets[at], mOffsets[at + written.size()])});
        }
        for (std::size_t i = 0; i < result.size(); ++i)
            offsets.push_back(mOffsets[at]);
        units += result;
        at += length;
    }
    offsets.push_back(mOffsets.back());
    mUnits.swap(units);
    mOffsets.swap(offsets);
}

TextParts::TextParts(std::u16string_view text) : mShownEnd(text.size())
{
    if (!hollin::MayHoldMarker(text))
        return;
    mShown = hollin::BeginOfVariant(text);
    mVariantEnd = mShown ? mShown - hollin::kMSWindowsMarker.size() : 0;
    const std::size_t comment = hollin::FindComment(text);
    if (comment == kNone)
        return;
    mShownEnd = comment;
    mNote = comment + hollin::kCommentMarker.size();
}
