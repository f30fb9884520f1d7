// What all conversions of text share: runs of ASCII, counting, and the way to
// fill a buffer that may be too small.

#ifndef WIN32_PORTABLE_CONVERSION_H
#define WIN32_PORTABLE_CONVERSION_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace win32
{
typedef unsigned char Byte;
typedef unsigned short Unit; // of UTF-16

const std::size_t kTooSmall = SIZE_MAX; // in place of a count
const std::size_t kBlock = 16;          // characters of a long run moved together
const bool kLittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

// Takes what a conversion gives. It doesn't look for the end.
template <class Target> struct Store
{
    Target* mNext;

    void Put(Target value) { *mNext++ = value; }

    // Puts a piece's first count characters, and scribbles over the places of
    // the others: a loop that always runs the same way is far faster.
    template <std::size_t kSize, class Source> void PutHead(const Source* piece, std::size_t count)
    {
        for (std::size_t i = 0; i < kSize; ++i)
            mNext[i] = static_cast<Target>(piece[i]);
        mNext += count;
    }
};

// Only counts it.
template <class Target> struct Tally
{
    std::size_t mCount;

    void Put(Target) { ++mCount; }
    template <std::size_t kSize, class Source> void PutHead(const Source*, std::size_t count)
    {
        mCount += count;
    }
};

// A machine word's worth of characters.
template <class Source> struct Word
{
    static const std::size_t kSize = sizeof(std::uint64_t) / sizeof(Source);

    // The bits that make characters other than ASCII.
    static std::uint64_t HighBits(const Source* next)
    {
        const std::uint64_t kMask = sizeof(Source) == 1 ? 0x8080808080808080u : 0xFF80FF80FF80FF80u;
        std::uint64_t word;
        std::memcpy(&word, next, sizeof(word));
        return word & kMask;
    }

    // ASCII characters in front of the first other one.
    static std::size_t AsciiHead(std::uint64_t highBits)
    {
        const int zeros = kLittleEndian ? __builtin_ctzll(highBits) : __builtin_clzll(highBits);
        return static_cast<std::size_t>(zeros) / (8 * sizeof(Source));
    }
};

template <class Source> bool IsAsciiBlock(const Source* block)
{
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < kBlock; i += Word<Source>::kSize)
        bits |= Word<Source>::HighBits(block + i);
    return bits == 0;
}

// How far a conversion has come. It goes from function to function by value,
// so that it stays in registers.
template <class Source, class Output> struct Cursor
{
    const Source* mNext;
    Output mOutput;
};

// Converts the ASCII characters in front of the first other one or stop. Three
// sources give at least one target, so while enough of them are left, later
// characters take all the places that have been scribbled over.
template <class Source, class Output>
Cursor<Source, Output> PutAscii(Cursor<Source, Output> at, const Source* stop)
{
    const std::size_t kWord = Word<Source>::kSize;
    while (static_cast<std::size_t>(stop - at.mNext) >= kBlock + 3 * kWord)
    {
        if (IsAsciiBlock(at.mNext))
        {
            at.mOutput.template PutHead<kBlock>(at.mNext, kBlock);
            at.mNext += kBlock;
            continue;
        }
        std::uint64_t highBits;
        while ((highBits = Word<Source>::HighBits(at.mNext)) == 0)
        {
            at.mOutput.template PutHead<kWord>(at.mNext, kWord);
            at.mNext += kWord;
        }
        const std::size_t count = Word<Source>::AsciiHead(highBits);
        at.mOutput.template PutHead<kWord>(at.mNext, count);
        at.mNext += count;
        return at;
    }
    while (at.mNext != stop && *at.mNext < 0x80)
        at.mOutput.Put(static_cast<Byte>(*at.mNext++));
    return at;
}

// A converter has the types Source and Target; kMost, the most targets a source
// gives; and
//
//     Cursor<Source, Output> Run(Cursor<Source, Output> at,
//                                const Source* stop, const Source* end)
//
// which converts the characters that start in front of stop. The last one may
// go on behind it, but not behind end, and then gives at most one target more
// than the sources in front of stop allow.

// The count of targets that a text gives.
template <class Converter>
std::size_t Count(const Converter& converter, const typename Converter::Source* next,
                  std::size_t length)
{
    typedef Tally<typename Converter::Target> Output;
    const Cursor<typename Converter::Source, Output> start = {next, {0}};
    return converter.Run(start, next + length, next + length).mOutput.mCount;
}

// Converts a text; returns the count written, or kTooSmall with the characters
// that fit written. While the room is sure to be enough for a piece of the
// text, nothing asks again for each character.
template <class Converter>
std::size_t Fill(const Converter& converter, const typename Converter::Source* next,
                 std::size_t length, typename Converter::Target* targets, std::size_t capacity)
{
    typedef typename Converter::Target Target;
    typedef Cursor<typename Converter::Source, Store<Target>> Place;
    const typename Converter::Source* const end = next + length;
    Target* const last = targets + capacity;
    Place at = {next, {targets}};
    while (at.mNext != end)
    {
        const std::size_t room = static_cast<std::size_t>(last - at.mOutput.mNext);
        const std::size_t sure = room ? (room - 1) / Converter::kMost : 0;
        if (sure)
        {
            const std::size_t left = static_cast<std::size_t>(end - at.mNext);
            at = converter.Run(at, at.mNext + std::min(sure, left), end);
            continue;
        }
        Target character[2 * Converter::kMost];
        const Place aside = converter.Run(Place{at.mNext, {character}}, at.mNext + 1, end);
        const std::size_t count = static_cast<std::size_t>(aside.mOutput.mNext - character);
        if (count > room)
            return kTooSmall;
        at.mNext = aside.mNext;
        at.mOutput.mNext = std::copy(character, character + count, at.mOutput.mNext);
    }
    return static_cast<std::size_t>(at.mOutput.mNext - targets);
}
} // namespace win32

#endif
