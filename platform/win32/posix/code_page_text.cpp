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
    const Byte* Run(const Byte* next, const Byte* stop, const Byte* end, Output& output) const
    {
        while (next < stop)
        {
            if (*next < 0x80 && mPage.mIsAscii)
                next = PutAscii(next, stop, output);
            else if (mPage.mIsLead[*next])
                next = PutPair(next, end, output);
            else
                output.Put(mPage.mSingles[*next++]);
        }
        return next;
    }

    // A lead byte takes any second byte with it but a terminator.
    template <class Output>
    const Byte* PutPair(const Byte* next, const Byte* end, Output& output) const
    {
        if (end - next < 2 || !next[1])
        {
            output.Put(mPage.mDefaultUnit);
            return next + 1;
        }
        output.Put(mPage.mPairs[next[0] - 0x80][next[1]]);
        return next + 2;
    }

    const CodePage& mPage;
};

struct PageEncoder
{
    typedef Unit Source;
    typedef Byte Target;
    static const std::size_t kMost = 2;

    template <class Output>
    const Unit* Run(const Unit* next, const Unit* stop, const Unit*, Output& output)
    {
        while (next < stop)
        {
            if (*next < 0x80 && mPage.mIsAscii)
                next = PutAscii(next, stop, output);
            else
                PutUnit(*next++, output);
        }
        return next;
    }

    template <class Output> void PutUnit(Unit unit, Output& output)
    {
        Unit bytes = mPage.mBytes[unit];
        if (!bytes && unit)
        {
            bytes = mFallback.mBytes;
            mFallback.mUsed = true;
        }
        if (bytes > 0xFF)
            output.Put(static_cast<Byte>(bytes >> 8));
        output.Put(static_cast<Byte>(bytes));
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
    PageEncoder encoder = {page, fallback};
    return Count(encoder, units, length);
}

std::size_t ToPage(const CodePage& page, const Unit* units, std::size_t length, Byte* bytes,
                   std::size_t capacity, DefaultCharacter& fallback)
{
    PageEncoder encoder = {page, fallback};
    return Fill(encoder, units, length, bytes, capacity);
}
} // namespace win32
