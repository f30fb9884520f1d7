#include "utf8.h"

namespace win32
{
namespace
{
const Unit kReplacement = 0xFFFD;

bool IsContinuation(Byte byte)
{
    return (byte & 0xC0) == 0x80;
}

bool IsHighSurrogate(Unit unit)
{
    return (unit & 0xFC00) == 0xD800;
}

bool IsLowSurrogate(Unit unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

// Bytes of the sequence that a byte leads, 0 if it leads none.
std::size_t SequenceLength(Byte lead)
{
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// Whether a second byte leaves the sequence neither overlong nor a surrogate
// nor above U+10FFFF.
bool IsSecond(Byte lead, Byte second)
{
    switch (lead)
    {
    case 0xE0:
        return second >= 0xA0 && second <= 0xBF;
    case 0xED:
        return second >= 0x80 && second <= 0x9F;
    case 0xF0:
        return second >= 0x90 && second <= 0xBF;
    case 0xF4:
        return second >= 0x80 && second <= 0x8F;
    default:
        return IsContinuation(second);
    }
}

// Well-formed bytes at the head of what starts with a lead byte, at least 1.
std::size_t WellFormedHead(const Byte* next, std::size_t sequence, std::size_t left)
{
    if (left < 2 || !IsSecond(next[0], next[1]))
        return 1;
    std::size_t length = 2;
    while (length < sequence && length < left && IsContinuation(next[length]))
        ++length;
    return length;
}

struct UTF8Decoder
{
    typedef Byte Source;
    typedef Unit Target;
    static const std::size_t kMost = 1;

    template <class Output>
    const Byte* Run(const Byte* next, const Byte* stop, const Byte* end, Output& output) const
    {
        while (next < stop)
        {
            if (*next < 0x80)
                next = PutAscii(next, stop, output);
            else
                next = PutSequence(next, end, output);
        }
        return next;
    }

    template <class Output>
    const Byte* PutSequence(const Byte* next, const Byte* end, Output& output) const
    {
        const std::size_t sequence = SequenceLength(*next);
        if (!sequence)
        {
            output.Put(kReplacement);
            return next + 1;
        }
        const std::size_t head =
            WellFormedHead(next, sequence, static_cast<std::size_t>(end - next));
        if (head < sequence)
        {
            output.Put(kReplacement);
            return next + head;
        }
        unsigned int character = *next & (0xFFu >> (sequence + 1));
        for (std::size_t i = 1; i < sequence; ++i)
            character = character << 6 | (next[i] & 0x3Fu);
        if (character > 0xFFFF)
        {
            output.Put(static_cast<Unit>(0xD7C0 + (character >> 10)));
            character = 0xDC00 | (character & 0x3FF);
        }
        output.Put(static_cast<Unit>(character));
        return next + sequence;
    }
};

struct UTF8Encoder
{
    typedef Unit Source;
    typedef Byte Target;
    static const std::size_t kMost = 3;

    template <class Output>
    const Unit* Run(const Unit* next, const Unit* stop, const Unit* end, Output& output) const
    {
        while (next < stop)
        {
            if (*next < 0x80)
                next = PutAscii(next, stop, output);
            else
                next = PutCharacter(next, end, output);
        }
        return next;
    }

    template <class Output>
    const Unit* PutCharacter(const Unit* next, const Unit* end, Output& output) const
    {
        unsigned int character = *next++;
        if (character < 0x800)
        {
            output.Put(static_cast<Byte>(0xC0 | character >> 6));
            output.Put(static_cast<Byte>(0x80 | (character & 0x3F)));
            return next;
        }
        if ((character & 0xF800) == 0xD800)
        {
            if (IsHighSurrogate(next[-1]) && next != end && IsLowSurrogate(*next))
                return PutSupplementary(0x10000 + ((character - 0xD800) << 10) + (*next - 0xDC00u),
                                        next, output);
            character = kReplacement;
        }
        output.Put(static_cast<Byte>(0xE0 | character >> 12));
        output.Put(static_cast<Byte>(0x80 | (character >> 6 & 0x3F)));
        output.Put(static_cast<Byte>(0x80 | (character & 0x3F)));
        return next;
    }

    template <class Output>
    const Unit* PutSupplementary(unsigned int character, const Unit* low, Output& output) const
    {
        output.Put(static_cast<Byte>(0xF0 | character >> 18));
        output.Put(static_cast<Byte>(0x80 | (character >> 12 & 0x3F)));
        output.Put(static_cast<Byte>(0x80 | (character >> 6 & 0x3F)));
        output.Put(static_cast<Byte>(0x80 | (character & 0x3F)));
        return low + 1;
    }
};

const UTF8Decoder kDecoder;
const UTF8Encoder kEncoder;
} // namespace

std::size_t CountFromUTF8(const Byte* bytes, std::size_t length)
{
    return Count(kDecoder, bytes, length);
}

std::size_t FromUTF8(const Byte* bytes, std::size_t length, Unit* units, std::size_t capacity)
{
    return Fill(kDecoder, bytes, length, units, capacity);
}

std::size_t CountToUTF8(const Unit* units, std::size_t length)
{
    return Count(kEncoder, units, length);
}

std::size_t ToUTF8(const Unit* units, std::size_t length, Byte* bytes, std::size_t capacity)
{
    return Fill(kEncoder, units, length, bytes, capacity);
}
} // namespace win32
