#include "code_page_text.h"

namespace win32
{
namespace
{
struct PageDecoder
{
    typedef Byte Source;
    typedef Unit Target;
    static const std::size_t kMost = 1;

    template <class Output>
    Cursor<Byte, Output> Run(Cursor<Byte, Output> at, const Byte* stop, const Byte* end) const
    {
        const CodePage& page = mPage;
        while (at.mNext < stop)
        {
            if (*at.mNext < 0x80)
                at = PutAscii(at, stop);
            else if (page.mIsLead[*at.mNext])
                at = PutPair(at, end);
            else
                at.mOutput.Put(page.mSingles[*at.mNext++]);
        }
        return at;
    }

    // A lead byte takes any second byte with it but a terminator.
    template <class Output>
    Cursor<Byte, Output> PutPair(Cursor<Byte, Output> at, const Byte* end) const
    {
        const Byte lead = *at.mNext++;
        if (at.mNext == end || !*at.mNext)
            at.mOutput.Put(mPage.mDefaultUnit);
        else
            at.mOutput.Put(mPage.mPairs[lead - 0x80][*at.mNext++]);
        return at;
    }

    const CodePage& mPage;
};

template <bool kForBestFits> struct PageEncoder
{
    typedef Unit Source;
    typedef Byte Target;
    static const std::size_t kMost = 2;

    template <class Output>
    Cursor<Unit, Output> Run(Cursor<Unit, Output> at, const Unit* stop, const Unit*) const
    {
        const CodePage& page = mPage;
        while (at.mNext < stop)
        {
            const Unit unit = *at.mNext;
            if (unit < 0x80)
            {
                at = PutAscii(at, stop);
                continue;
            }
            ++at.mNext;
            Unit bytes = page.mBytes[unit];
            if (!bytes || (kForBestFits && page.HasOnlyBestFit(unit)))
                bytes = Default();
            if (bytes > 0xFF)
                at.mOutput.Put(static_cast<Byte>(bytes >> 8));
            at.mOutput.Put(static_cast<Byte>(bytes));
        }
        return at;
    }

    Unit Default() const
    {
        mFallback.mUsed = true;
        return mFallback.mBytes;
    }

    const CodePage& mPage;
    DefaultCharacter& mFallback;
};
} // namespace

std::size_t CountFromPage(const CodePage& page, const Byte* bytes, std::size_t length)
{
    const PageDecoder decoder = {page};
    return page.mPairs ? Count(decoder, bytes, length) : length;
}

std::size_t FromPage(const CodePage& page, const Byte* bytes, std::size_t length, Unit* units,
                     std::size_t capacity)
{
    const PageDecoder decoder = {page};
    return Fill(decoder, bytes, length, units, capacity);
}

std::size_t CountToPage(const CodePage& page, const Unit* units, std::size_t length,
                        DefaultCharacter& fallback)
{
    if (fallback.mForBestFits)
        return Count(PageEncoder<true>{page, fallback}, units, length);
    return Count(PageEncoder<false>{page, fallback}, units, length);
}

std::size_t ToPage(const CodePage& page, const Unit* units, std::size_t length, Byte* bytes,
                   std::size_t capacity, DefaultCharacter& fallback)
{
    if (fallback.mForBestFits)
        return Fill(PageEncoder<true>{page, fallback}, units, length, bytes, capacity);
    return Fill(PageEncoder<false>{page, fallback}, units, length, bytes, capacity);
}
} // namespace win32
