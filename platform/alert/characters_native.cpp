// The system has data of single characters only, so lines are broken by a few rules for each
// script.

#include "system.h"

#include <string_view>
#include <vector>

#include <platform/base/code_units.h>
#include <win32/native/windows_api.h>

namespace platform
{
namespace
{
typedef unsigned short Unit;

const Unit kVariationSelector = 0xFE0F;
const Unit kZeroWidthJoiner = 0x200D;

// A line does not end after these marks.
const std::u16string_view kOpeningMarks = u"([{\u00AB\u2018\u201C\u3008\u300A\u300C\u300E\u3010"
                                          u"\u3014\uFF08\uFF3B\uFF5B\uFF62";

bool IsIn(unsigned int character, unsigned int first, unsigned int last)
{
    return character >= first && character <= last;
}

bool IsHangul(unsigned int character)
{
    return IsIn(character, 0x1100, 0x115F) || IsIn(character, 0xAC00, 0xD7A3);
}

// Scripts of East Asia, most emoji and rare ideographs.
bool IsWideAbovePlaneZero(unsigned int character)
{
    return IsIn(character, 0x16FE0, 0x1B2FF) || IsIn(character, 0x1F200, 0x1F64F) ||
           IsIn(character, 0x1F680, 0x1F6FF) || IsIn(character, 0x1F900, 0x1FAFF) ||
           IsIn(character, 0x20000, 0x3FFFF);
}

bool IsZeroWidth(unsigned int character)
{
    return IsIn(character, 0x200B, 0x200F) || IsIn(character, 0xFE00, kVariationSelector);
}

// The character types of one unit.
struct Types
{
    WORD mBasic; // C1
    WORD mText;  // C3

    bool IsMark() const { return mBasic & C1_PUNCT; }
    // A letter with an accent has the bit, too.
    bool IsAccent() const { return (mText & C3_NONSPACING) && !(mText & C3_ALPHA); }
    bool IsEastAsian() const
    {
        return mText & (C3_IDEOGRAPH | C3_HIRAGANA | C3_KATAKANA | C3_FULLWIDTH);
    }
    bool IsHalfWidth() const { return mText & C3_HALFWIDTH; }
};

// Characters that the system doesn't know have no types.
std::vector<Types> TypesOf(const Unit* text, int length)
{
    const std::size_t count = static_cast<std::size_t>(length);
    std::vector<WORD> basic(count);
    std::vector<WORD> forText(count);
    ::GetStringTypeW(CT_CTYPE1, win32::Wide(text), length, basic.data());
    ::GetStringTypeW(CT_CTYPE3, win32::Wide(text), length, forText.data());
    std::vector<Types> types(count);
    for (std::size_t i = 0; i < count; ++i)
        types[i] = {basic[i], forText[i]};
    return types;
}

class Breaks final : public TextBreaks
{
public:
    void SetText(const krobase::utility::UTF16String& text) override
    {
        mText = text.data();
        mEnd = static_cast<int>(text.size());
        mTypes = TypesOf(mText, mEnd);
        mSearchedFrom = mLineEnd = 0;
    }

    int NextLineEnd(int position) override
    {
        // The end of a long word is asked for from many positions in the word.
        if (position >= mSearchedFrom && position < mLineEnd)
            return mLineEnd;
        mSearchedFrom = position;
        mLineEnd = NextCharacterEnd(position);
        while (mLineEnd < mEnd && !MayEndLine(mLineEnd))
            mLineEnd = NextCharacterEnd(mLineEnd);
        return mLineEnd;
    }

    int NextCharacterEnd(int position) override
    {
        int next = position + 1;
        while (next < mEnd && ContinuesCharacter(next))
            ++next;
        return next;
    }

    int LastCharacterEnd(int position) override
    {
        int last = position - 1;
        while (last > 0 && ContinuesCharacter(last))
            --last;
        return last;
    }

private:
    const Types& TypesAt(int position) const { return mTypes[static_cast<std::size_t>(position)]; }

    bool ContinuesCharacter(int position) const
    {
        const Unit unit = mText[position];
        const Unit before = mText[position - 1];
        return (IsLowSurrogate(unit) && IsHighSurrogate(before)) || TypesAt(position).IsAccent() ||
               unit == kVariationSelector || unit == kZeroWidthJoiner || before == kZeroWidthJoiner;
    }

    bool MayEndLine(int position) const
    {
        const Unit unit = mText[position];
        const Unit before = mText[position - 1];
        if (unit == ' ')
            return false; // spaces belong to the word before them
        if (before == ' ')
            return true;
        if (TypesAt(position).IsMark() || kOpeningMarks.find(before) != kOpeningMarks.npos)
            return kOpeningMarks.find(unit) != kOpeningMarks.npos &&
                   TypesAt(position).IsEastAsian();
        return TypesAt(position).IsEastAsian() || TypesAt(position - 1).IsEastAsian() ||
               IsHighSurrogate(unit) || IsLowSurrogate(before);
    }

    const Unit* mText = nullptr;
    int mEnd = 0;
    std::vector<Types> mTypes; // of each unit
    int mSearchedFrom = 0;
    int mLineEnd = 0; // the first line end after mSearchedFrom
};
} // namespace

std::size_t ColumnsOf(unsigned int character)
{
    if (character > 0xFFFF)
        return IsWideAbovePlaneZero(character) ? 2 : 1;
    const Unit unit = static_cast<Unit>(character);
    const Types types = TypesOf(&unit, 1).front();
    if (types.IsAccent() || IsZeroWidth(unit))
        return 0;
    return (types.IsEastAsian() && !types.IsHalfWidth()) || IsHangul(unit) ? 2 : 1;
}

std::unique_ptr<TextBreaks> MakeTextBreaks()
{
    return std::make_unique<Breaks>();
}
} // namespace platform
