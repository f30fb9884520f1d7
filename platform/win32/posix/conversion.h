// What all conversions of text share: runs of ASCII, counting, and the way to
// fill a buffer that may be too small.

#ifndef WIN32_POSIX_CONVERSION_H
#define WIN32_POSIX_CONVERSION_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace win32
{
typedef unsigned char Byte;
typedef unsigned short Unit; // of UTF-16

const std::size_t kTooSmall = SIZE_MAX; // in place of a count
const std::size_t kBlock = 16;          // characters of a run looked at together

// Takes what a conversion gives. It doesn't look for the end.
template <class Target> struct Store
{
    Target* mNext;

    void Put(Target value) { *mNext++ = value; }
    template <class Source> void PutBlock(const Source* block)
    {
        for (std::size_t i = 0; i < kBlock; ++i)
            mNext[i] = static_cast<Target>(block[i]);
        mNext += kBlock;
    }
};

// Only counts it.
template <class Target> struct Tally
{
    std::size_t mCount;

    void Put(Target) { ++mCount; }
    template <class Source> void PutBlock(const Source*) { mCount += kBlock; }
};

inline bool IsAsciiBlock(const Byte* block)
{
    std::uint64_t words[2];
    std::memcpy(words, block, sizeof(words));
    return ((words[0] | words[1]) & 0x8080808080808080u) == 0;
}

inline bool IsAsciiBlock(const Unit* block)
{
    std::uint64_t words[4];
    std::memcpy(words, block, sizeof(words));
    return ((words[0] | words[1] | words[2] | words[3]) & 0xFF80FF80FF80FF80u) == 0;
}

// Puts the ASCII characters at the head of [next, stop), and returns their end.
template <class Source, class Output>
const Source* PutAscii(const Source* next, const Source* stop, Output& output)
{
    while (static_cast<std::size_t>(stop - next) >= kBlock && IsAsciiBlock(next))
    {
        output.PutBlock(next);
        next += kBlock;
    }
    while (next != stop && *next < 0x80)
        output.Put(static_cast<Byte>(*next++));
    return next;
}

// A converter has the types Source and Target; kMost, the most targets a source
// gives; and
//
//     const Source* Run(const Source* next, const Source* stop,
//                       const Source* end, Output& output)
//
// which puts the characters that start in [next, stop) and returns the end of
// the last one. A character may go on behind stop, but not behind end, and
// then gives at most one target more than the sources in front of stop allow.

// The count of targets that a text gives.
template <class Converter>
std::size_t Count(Converter& converter, const typename Converter::Source* next, std::size_t length)
{
    Tally<typename Converter::Target> tally = {0};
    converter.Run(next, next + length, next + length, tally);
    return tally.mCount;
}

// Converts a text; returns the count written, or kTooSmall with the characters
// that fit written. While the room is sure to be enough for a piece of the
// text, nothing asks again for each character.
template <class Converter>
std::size_t Fill(Converter& converter, const typename Converter::Source* next, std::size_t length,
                 typename Converter::Target* targets, std::size_t capacity)
{
    typedef typename Converter::Target Target;
    const typename Converter::Source* const end = next + length;
    Target* const last = targets + capacity;
    Store<Target> store = {targets};
    while (next != end)
    {
        const std::size_t room = static_cast<std::size_t>(last - store.mNext);
        const std::size_t sure = room ? (room - 1) / Converter::kMost : 0;
        if (sure)
        {
            const std::size_t left = static_cast<std::size_t>(end - next);
            next = converter.Run(next, next + std::min(sure, left), end, store);
            continue;
        }
        Target character[2 * Converter::kMost];
        Store<Target> aside = {character};
        next = converter.Run(next, next + 1, end, aside);
        const std::size_t count = static_cast<std::size_t>(aside.mNext - character);
        if (count > room)
            return kTooSmall;
        store.mNext = std::copy(character, aside.mNext, store.mNext);
    }
    return static_cast<std::size_t>(store.mNext - targets);
}
} // namespace win32

#endif
