// Pattern fills and byte order.

#include <cstring>

#include <boost/endian/conversion.hpp>

#include "U_Machine.h"

namespace
{
// Stores so many bytes of the pattern at both ends, which may overlap: the bytes between
// are a whole number of values, and so both hold whole ones. Each memcpy is one
// unaligned store.
template <std::size_t width>
void StoreEnds(const unsigned char* pattern, unsigned char* start, unsigned char* end)
{
    std::memcpy(start, pattern, width);
    std::memcpy(end - width, pattern, width);
}

const std::size_t kPiece = 16; // bytes that the processor stores at once

template <class Value> void Fill(Value value, U_i32 count, void* destination)
{
    if (count <= 0)
        return;
    U_u64 values = value;
    for (std::size_t bits = 8 * sizeof(value); bits < 64; bits *= 2)
        values |= values << bits;
    unsigned char pattern[kPiece];
    std::memcpy(pattern, &values, sizeof(values));
    std::memcpy(pattern + sizeof(values), &values, sizeof(values));

    unsigned char* next = static_cast<unsigned char*>(destination);
    const std::size_t size = static_cast<std::size_t>(count) * sizeof(value);
    unsigned char* const end = next + size;
    if (size < 4)
        std::memcpy(next, pattern, sizeof(U_u16));
    else if (size < 8)
        StoreEnds<4>(pattern, next, end);
    else if (size < kPiece)
        StoreEnds<8>(pattern, next, end);
    if (size < kPiece)
        return;

    for (std::size_t left = size / (4 * kPiece); left > 0; --left, next += 4 * kPiece)
    {
        for (std::size_t i = 0; i < 4; ++i)
            std::memcpy(next + i * kPiece, pattern, kPiece);
    }
    for (; next + kPiece <= end; next += kPiece)
        std::memcpy(next, pattern, kPiece);
    std::memcpy(end - kPiece, pattern, kPiece);
}

template <class Bits, class Number> void SwapInPlace(Bits (*swap)(Bits), Number* number)
{
    Bits bits;
    static_assert(sizeof(bits) == sizeof(*number));
    std::memcpy(&bits, number, sizeof(bits));
    bits = swap(bits);
    std::memcpy(number, &bits, sizeof(bits));
}
} // namespace

void Up_Memset16(U_u16 value, U_i32 count, void* destination)
{
    Fill(value, count, destination);
}

void Up_Memset32(U_u32 value, U_i32 count, void* destination)
{
    Fill(value, count, destination);
}

U_u16 U_ShortSwap(U_u16 value)
{
    return boost::endian::endian_reverse(value);
}

U_u32 U_LongSwap(U_u32 value)
{
    return boost::endian::endian_reverse(value);
}

U_u64 U_LLongSwap(U_u64 value)
{
    return boost::endian::endian_reverse(value);
}

void U_FpShortSwap(float* number)
{
    SwapInPlace(&U_LongSwap, number);
}

void U_FpLongSwap(double* number)
{
    SwapInPlace(&U_LLongSwap, number);
}
