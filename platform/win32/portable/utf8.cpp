// UTF-8. Ill-formed text becomes U+FFFD: one for each longest head of a sequence that could
// have continued, one for each other byte, and one for each half of a surrogate pair.

#include "code_page.h"
#include "utf8_windows.h"

#include <platform/base/code_units.h>

using namespace platform;

namespace win32
{
namespace
{
const Unit kReplacement = 0xFFFD;

// Returns the count of bytes of a sequence that are present and well-formed; at least 1.
std::size_t WellFormedHead(const Byte* next, std::size_t sequence, std::size_t left)
{
    if (sequence < 2 || left < 2 || !IsUTF8Second(next[0], next[1]))
        return 1;
    std::size_t length = 2;
    while (length < sequence && length < left && IsUTF8Continuation(next[length]))
        ++length;
    return length;
}

// Two characters of three bytes are converted at once, in lanes of 24 bits with the first byte
// lowest. Both cost hardly more than one character.
const std::uint64_t kBothLanes = 0x000001000001;

// Four characters of two bytes are converted at once, in lanes of 16 bits.
const std::uint64_t kFourLanes = 0x0001000100010001;

// Returns true for a unit that is a character of three bytes.
bool IsOfThree(std::uint64_t unit)
{
    return unit >= 0x800 && (unit & 0xF800) != 0xD800;
}

// Converts well-formed sequences of two bytes and single ASCII characters between them, such
// as the blanks between words.
Cursor<Byte, Unit> PutTwos(Cursor<Byte, Unit> at, const Byte* stop)
{
    while (stop - at.mNext >= 2)
    {
        const Byte lead = at.mNext[0];
        const Byte second = at.mNext[1];
        const bool isAscii = lead < 0x80;
        if (isAscii ? second < 0x80 : lead < 0xC2 || lead > 0xDF || !IsUTF8Continuation(second))
            break;
        at.mOutput.Put(static_cast<Unit>(isAscii ? lead : (lead & 0x1F) << 6 | (second & 0x3F)));
        at.mNext += isAscii ? 1 : 2;
    }
    return at;
}

// Converts pairs of well-formed sequences of three bytes.
Cursor<Byte, Unit> PutThrees(Cursor<Byte, Unit> at, const Byte* stop)
{
    while (kLittleEndian && stop - at.mNext >= 8)
    {
        std::uint64_t bytes;
        std::memcpy(&bytes, at.mNext, sizeof(bytes));
        if ((bytes & 0xC0C0F0 * kBothLanes) != 0x8080E0 * kBothLanes)
            break;
        const std::uint64_t lanes = (bytes & 0x0F * kBothLanes) << 12 |
                                    (bytes >> 2 & 0xFC0 * kBothLanes) |
                                    (bytes >> 16 & 0x3F * kBothLanes);
        const Unit units[] = {static_cast<Unit>(lanes), static_cast<Unit>(lanes >> 24)};
        if (!IsOfThree(units[0]) || !IsOfThree(units[1]))
            break;
        at.mOutput.PutHead<2>(units, 2);
        at.mNext += 6;
    }
    return at;
}

Cursor<Byte, Unit> PutCharacter(Cursor<Byte, Unit> at, const Byte* end)
{
    const Byte* const next = at.mNext;
    const std::size_t sequence = static_cast<std::size_t>(UTF8Length(*next));
    const std::size_t head = WellFormedHead(next, sequence, static_cast<std::size_t>(end - next));
    at.mNext += head;
    if (sequence == 1 || head < sequence)
    {
        at.mOutput.Put(kReplacement);
        return at;
    }
    unsigned int character = *next & (0xFFu >> (sequence + 1));
    for (std::size_t i = 1; i < sequence; ++i)
        character = character << 6 | (next[i] & 0x3Fu);
    if (character > 0xFFFF)
    {
        at.mOutput.Put(static_cast<Unit>(0xD7C0 + (character >> 10)));
        character = 0xDC00 | (character & 0x3FF);
    }
    at.mOutput.Put(static_cast<Unit>(character));
    return at;
}

// Puts the first `count` bytes of a number, the lowest first.
template <class Number> void PutBytes(Number number, std::size_t count, Store<Byte>& output)
{
    Byte bytes[sizeof(number)];
    std::memcpy(bytes, &number, sizeof(number));
    output.PutHead<sizeof(number)>(bytes, count);
}

void PutLead(unsigned int byte, Store<Byte>& output)
{
    output.Put(static_cast<Byte>(byte));
}

void PutContinuation(unsigned int bits, Store<Byte>& output)
{
    output.Put(static_cast<Byte>(0x80 | (bits & 0x3F)));
}

// Converts fours of characters of two bytes.
Cursor<Unit, Byte> PutFoursOfTwo(Cursor<Unit, Byte> at, const Unit* stop)
{
    while (stop - at.mNext >= 4)
    {
        std::uint64_t units;
        std::memcpy(&units, at.mNext, sizeof(units));
        // In each lane: the unit is below 0x800, and is not ASCII, since then the sum carries
        // into bit 11.
        const std::uint64_t carries = (units & 0x0780 * kFourLanes) + 0x0780 * kFourLanes;
        if (units & 0xF800 * kFourLanes || ~carries & 0x0800 * kFourLanes)
            break;
        const std::uint64_t bytes = 0x80C0 * kFourLanes | (units >> 6 & 0x001F * kFourLanes) |
                                    (units << 8 & 0x3F00 * kFourLanes);
        PutBytes(bytes, 8, at.mOutput);
        at.mNext += 4;
    }
    return at;
}

// Converts characters of two bytes and single ASCII characters between them.
Cursor<Unit, Byte> PutTwos(Cursor<Unit, Byte> at, const Unit* stop)
{
    const Unit* const last = stop - 1;
    for (; kLittleEndian; ++at.mNext)
    {
        at = PutFoursOfTwo(at, stop);
        if (at.mNext >= last || *at.mNext >= 0x800)
            break;
        const unsigned int unit = *at.mNext;
        const unsigned int bytes = 0x80C0 | unit >> 6 | (unit & 0x3F) << 8;
        if (unit >= 0x80)
            PutBytes(static_cast<std::uint16_t>(bytes), 2, at.mOutput);
        else if (at.mNext[1] >= 0x80)
            at.mOutput.Put(static_cast<Byte>(unit));
        else
            break;
    }
    return at;
}

// Converts pairs of characters of three bytes. The two units that are left before `stop`
// overwrite the unspecified bytes.
Cursor<Unit, Byte> PutThrees(Cursor<Unit, Byte> at, const Unit* stop)
{
    while (kLittleEndian && stop - at.mNext >= 4 && IsOfThree(at.mNext[0]) &&
           IsOfThree(at.mNext[1]))
    {
        const std::uint64_t lanes = at.mNext[0] | std::uint64_t(at.mNext[1]) << 24;
        const std::uint64_t bytes = 0x8080E0 * kBothLanes | (lanes >> 12 & 0x0F * kBothLanes) |
                                    (lanes << 2 & 0x3F00 * kBothLanes) |
                                    (lanes << 16 & 0x3F0000 * kBothLanes);
        PutBytes(bytes, 6, at.mOutput);
        at.mNext += 2;
    }
    return at;
}

// The cursor is at the second half of the pair.
Cursor<Unit, Byte> PutPair(Cursor<Unit, Byte> at)
{
    const unsigned int character =
        0x10000 + ((at.mNext[-1] & 0x3FFu) << 10 | (at.mNext[0] & 0x3FFu));
    PutLead(0xF0 | character >> 18, at.mOutput);
    PutContinuation(character >> 12, at.mOutput);
    PutContinuation(character >> 6, at.mOutput);
    PutContinuation(character, at.mOutput);
    ++at.mNext;
    return at;
}

Cursor<Unit, Byte> PutCharacter(Cursor<Unit, Byte> at, const Unit* end)
{
    unsigned int character = *at.mNext++;
    if (character < 0x800)
    {
        PutLead(0xC0 | character >> 6, at.mOutput);
        PutContinuation(character, at.mOutput);
        return at;
    }
    if ((character & 0xF800) == 0xD800)
    {
        if (IsHighSurrogate(character) && at.mNext != end && IsLowSurrogate(*at.mNext))
            return PutPair(at);
        character = kReplacement;
    }
    PutLead(0xE0 | character >> 12, at.mOutput);
    PutContinuation(character >> 6, at.mOutput);
    PutContinuation(character, at.mOutput);
    return at;
}

// Converts in the direction that the type of the source selects, without vectors.
template <class Source, class Target>
Cursor<Source, Target> PutPortably(Cursor<Source, Target> at, const Source* stop, const Source* end)
{
    return PutText(at, stop, [=](Cursor<Source, Target> next) {
        const Source* const start = next.mNext;
        next = PutTwos(next, stop);
        next = PutThrees(next, stop);
        return next.mNext == start ? PutCharacter(next, end) : next;
    });
}

struct UTF8Converter
{
    template <class Source, class Target>
    Cursor<Source, Target> Run(Cursor<Source, Target> at, const Source* stop,
                               const Source* end) const
    {
        const std::ptrdiff_t kAround = 64; // sources that are converted with a refused window
        while (stop - at.mNext >= kLeastForWindows && HasWindows())
        {
            at = PutWindows(at, stop);
            if (stop - at.mNext >= kLeastForWindows)
                at = PutPortably(at, at.mNext + kAround, end);
        }
        return PutPortably(at, stop, end);
    }
};
} // namespace

std::size_t FromUTF8(const Byte* bytes, std::size_t length, Unit* units, std::size_t capacity)
{
    return Convert<1>(UTF8Converter(), bytes, length, units, capacity);
}

std::size_t ToUTF8(const Unit* units, std::size_t length, Byte* bytes, std::size_t capacity)
{
    return Convert<3>(UTF8Converter(), units, length, bytes, capacity);
}
} // namespace win32
