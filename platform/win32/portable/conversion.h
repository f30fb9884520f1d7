// The parts that all conversions of text share: runs of ASCII, the filling of a buffer that may be
// too small, and the count of a result.

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

const std::size_t kTooSmall = SIZE_MAX; // a result in place of a count
const std::size_t kBlock = 16;          // characters of a long run that are copied together
const bool kLittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

// Stores the targets of a conversion, without a check for the end.
template <class Target> struct Store
{
    Target* mNext;

    void Put(Target value) { *mNext++ = value; }

    // Stores the first `count` characters of a piece, and overwrites the elements for the other
    // characters with unspecified values: a loop of constant length is far faster. The copy
    // shows that the targets do not overlap the sources, so the compiler makes vector code.
    template <std::size_t kSize, class Source> void PutHead(const Source* piece, std::size_t count)
    {
        Source sources[kSize];
        std::memcpy(sources, piece, sizeof(sources));
        for (std::size_t i = 0; i < kSize; ++i)
            mNext[i] = static_cast<Target>(sources[i]);
        mNext += count;
    }
};

// The characters of one machine word.
template <class Source> struct Word
{
    static const std::size_t kSize = sizeof(std::uint64_t) / sizeof(Source);

    // Returns the bits that are set only in characters other than ASCII.
    static std::uint64_t HighBits(const Source* next)
    {
        const std::uint64_t kMask = sizeof(Source) == 1 ? 0x8080808080808080u : 0xFF80FF80FF80FF80u;
        std::uint64_t word;
        std::memcpy(&word, next, sizeof(word));
        return word & kMask;
    }

    // Returns the count of ASCII characters before the first other character.
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

// The position of a conversion. Functions pass and return it by value, so that it stays in
// registers.
template <class Source, class Target> struct Cursor
{
    const Source* mNext;
    Store<Target> mOutput;
};

// Converts ASCII characters up to the first other character, or up to `stop`, and returns the
// position there.
template <class Source, class Target>
Cursor<Source, Target> PutAscii(Cursor<Source, Target> at, const Source* stop)
{
    const std::ptrdiff_t kWord = Word<Source>::kSize;
    while (stop - at.mNext >= std::ptrdiff_t(kBlock) && IsAsciiBlock(at.mNext))
    {
        at.mOutput.template PutHead<kBlock>(at.mNext, kBlock);
        at.mNext += kBlock;
    }
    while (stop - at.mNext >= kWord)
    {
        const std::uint64_t highBits = Word<Source>::HighBits(at.mNext);
        if (highBits == 0)
        {
            at.mOutput.template PutHead<kWord>(at.mNext, kWord);
            at.mNext += kWord;
            continue;
        }
        // PutHead writes kWord elements, of which those after the first `count` are unspecified. At
        // least 3 * kWord sources must be left: these convert to at least kWord elements, since
        // three sources have at least one target, and so overwrite the unspecified elements.
        if (stop - at.mNext < 3 * kWord)
            break;
        const std::size_t count = Word<Source>::AsciiHead(highBits);
        at.mOutput.template PutHead<kWord>(at.mNext, count);
        at.mNext += count;
        return at;
    }
    while (at.mNext != stop && *at.mNext < 0x80)
        at.mOutput.Put(static_cast<Byte>(*at.mNext++));
    return at;
}

// Converts the characters that start before `stop`: runs of ASCII by PutAscii, and other
// characters by putOther(cursor), which converts at least one.
template <class Source, class Target, class PutOther>
Cursor<Source, Target> PutText(Cursor<Source, Target> at, const Source* stop,
                               const PutOther& putOther)
{
    while (at.mNext < stop)
    {
        if (*at.mNext < 0x80)
            at = PutAscii(at, stop);
        else
            at = putOther(at);
    }
    return at;
}

// A converter has a function
//
//     Cursor<Source, Target> Run(Cursor<Source, Target> at,
//                                const Source* stop, const Source* end)
//
// which converts the characters that start before `stop`. The last character may end after
// `stop`, but not after `end`. Then it has at most one target more than the sources before
// `stop` allow.

// Converts a text for which `capacity` is at least 1. No source has more than `kMost` targets.
// While the capacity is certainly enough for a piece of the text, there is no check for each
// character.
//
// Returns: the count of targets, or kTooSmall with the characters that fit stored.
template <std::size_t kMost, class Converter, class Source, class Target>
std::size_t Fill(const Converter& converter, const Source* next, std::size_t length,
                 Target* targets, std::size_t capacity)
{
    typedef Cursor<Source, Target> StoreCursor;
    const Source* const end = next + length;
    Target* const last = targets + capacity;
    StoreCursor at = {next, {targets}};
    while (at.mNext != end)
    {
        const std::size_t room = static_cast<std::size_t>(last - at.mOutput.mNext);
        const std::size_t sure = room ? (room - 1) / kMost : 0;
        if (sure)
        {
            const std::size_t left = static_cast<std::size_t>(end - at.mNext);
            at = converter.Run(at, at.mNext + std::min(sure, left), end);
            continue;
        }
        Target character[2 * kMost];
        const StoreCursor aside =
            converter.Run(StoreCursor{at.mNext, {character}}, at.mNext + 1, end);
        const std::size_t count = static_cast<std::size_t>(aside.mOutput.mNext - character);
        if (count > room)
            return kTooSmall;
        at.mNext = aside.mNext;
        at.mOutput.mNext = std::copy(character, character + count, at.mOutput.mNext);
    }
    return static_cast<std::size_t>(at.mOutput.mNext - targets);
}

// Returns the count of targets. Pieces of the text are converted into the same targets: with the
// vectors of a converter that is faster than a count without targets.
template <std::size_t kMost, class Target, class Converter, class Source>
std::size_t Count(const Converter& converter, const Source* next, std::size_t length)
{
    const std::size_t kPiece = 4096; // sources
    const Source* const end = next + length;
    std::size_t count = 0;
    while (next != end)
    {
        Target targets[kMost * kPiece + 1];
        const std::size_t left = static_cast<std::size_t>(end - next);
        const auto at = converter.Run(Cursor<Source, Target>{next, {targets}},
                                      next + std::min(kPiece, left), end);
        count += static_cast<std::size_t>(at.mOutput.mNext - targets);
        next = at.mNext;
    }
    return count;
}

// Returns the result of Fill, or with a capacity of 0 the count of targets.
template <std::size_t kMost, class Converter, class Source, class Target>
std::size_t Convert(const Converter& converter, const Source* next, std::size_t length,
                    Target* targets, std::size_t capacity)
{
    return capacity ? Fill<kMost>(converter, next, length, targets, capacity)
                    : Count<kMost, Target>(converter, next, length);
}
} // namespace win32

#endif
