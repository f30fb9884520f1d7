#include "system.h"

#include <new>

#include <unicode/brkiter.h>
#include <unicode/uchar.h>

namespace platform
{
namespace
{
class Breaks final : public TextBreaks
{
public:
    Breaks()
        : mLines(Make(&icu::BreakIterator::createLineInstance)),
          mCharacters(Make(&icu::BreakIterator::createCharacterInstance))
    {
    }

    void SetText(const krobase::utility::UTF16String& units) override
    {
        mText = icu::UnicodeString(units.data(), static_cast<int>(units.size()));
        mLines->setText(mText);
        mCharacters->setText(mText);
    }

    int NextLineEnd(int position) override { return mLines->following(position); }
    int NextCharacterEnd(int position) override { return mCharacters->following(position); }
    int LastCharacterEnd(int position) override { return mCharacters->preceding(position); }

private:
    typedef std::unique_ptr<icu::BreakIterator> Iterator;

    static Iterator Make(icu::BreakIterator* (*make)(const icu::Locale&, UErrorCode&))
    {
        UErrorCode status = U_ZERO_ERROR;
        Iterator iterator(make(icu::Locale::getRoot(), status));
        if (U_FAILURE(status))
            throw std::bad_alloc();
        return iterator;
    }

    icu::UnicodeString mText; // the iterators refer to this object
    const Iterator mLines;
    const Iterator mCharacters;
};
} // namespace

std::size_t ColumnsOf(unsigned int character)
{
    const UChar32 code = static_cast<UChar32>(character);
    if (U_GET_GC_MASK(code) & (U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK))
        return 0;
    const int width = u_getIntPropertyValue(code, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_FULLWIDTH || width == U_EA_WIDE ? 2 : 1;
}

std::unique_ptr<TextBreaks> MakeTextBreaks()
{
    return std::make_unique<Breaks>();
}

// The system has no message boxes. alert/sdl/ has a presenter with a window.
bool PresentInSystemBox(const Alert&)
{
    return false;
}
} // namespace platform
