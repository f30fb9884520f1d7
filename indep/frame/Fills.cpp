// Pattern fills and byte order.

#include <cstring>

#include <boost/endian/conversion.hpp>

#include "U_Machine.h"

namespace
{
const std::size_t kPiece = 16; // bytes that the processor stores at once

// Unaligned stores; each memcpy is one instruction.
template <class Value> void Fill(Value value, U_i32 count, void* destination)
{
    unsigned char* next = static_cast<unsigned char*>(destination);
    if (count <= 0)
        return;
    const std::size_t size = static_cast<std::size_t>(count) * sizeof(value);
    unsigned char* const end = next + size;
    if (size < kPiece)
    {
        for (; next != end; next += sizeof(value))
            std::memcpy(next, &value, sizeof(value));
        return;
    }

    unsigned char piece[kPiece];
    for (std::size_t i = 0; i < kPiece; i += sizeof(value))
        std::memcpy(piece + i, &value, sizeof(value));
    for (std::size_t left = size / (4 * kPiece); left > 0; --left, next += 4 * kPiece)
    {
        for (std::size_t i = 0; i < 4; ++i)
            std::memcpy(next + i * kPiece, piece, kPiece);
    }
    for (; next + kPiece <= end; next += kPiece)
        std::memcpy(next, piece, kPiece);
    // The last piece may overlap the one before: both hold whole values.
    std::memcpy(end - kPiece, piece, kPiece);
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
