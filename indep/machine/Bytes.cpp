// Bytes: pattern fills, byte order, pointers as numbers.

#include "U_Machine.h"

#include <cstddef>
#include <cstring>
#include <limits>

#include <boost/endian/conversion.hpp>
#include <boost/numeric/conversion/cast.hpp>

namespace
{
const std::size_t kPiece = 16; // bytes of one store instruction

// Stores `width` bytes of the values at both ends. The two stores may overlap: the bytes are a
// whole number of values, so both stores write whole values. Each memcpy is one unaligned store.
template <std::size_t width> void StoreEnds(U_u64 values, unsigned char* start, unsigned char* end)
{
    std::memcpy(start, &values, width);
    std::memcpy(end - width, &values, width);
}

// Fills less than a piece, from a register: 3.5 ns for 6 bytes, std::fill 5.0 ns.
void FillShort(U_u64 values, unsigned char* start, unsigned char* end)
{
    const std::ptrdiff_t size = end - start;
    if (size >= 8)
        StoreEnds<8>(values, start, end);
    else if (size >= 4)
        StoreEnds<4>(values, start, end);
    else
        std::memcpy(start, &values, sizeof(U_u16));
}

// Fills a piece or more. At an odd address 10 % faster than copies that double each time.
void FillLong(U_u64 values, unsigned char* next, unsigned char* end)
{
    unsigned char pattern[kPiece];
    std::memcpy(pattern, &values, sizeof(values));
    std::memcpy(pattern + sizeof(values), &values, sizeof(values));
    for (std::ptrdiff_t left = (end - next) / std::ptrdiff_t(4 * kPiece); left > 0; --left)
    {
        for (std::size_t i = 0; i < 4; ++i, next += kPiece)
            std::memcpy(next, pattern, kPiece);
    }
    for (; next + kPiece <= end; next += kPiece)
        std::memcpy(next, pattern, kPiece);
    std::memcpy(end - kPiece, pattern, kPiece);
}

template <class Value> void Fill(Value value, U_i32 count, void* destination)
{
    if (count <= 0)
        return;
    const U_u64 kOneOfEach = ~U_u64(0) / std::numeric_limits<Value>::max();
    const U_u64 values = value * kOneOfEach;
    unsigned char* const start = static_cast<unsigned char*>(destination);
    unsigned char* const end = start + static_cast<std::size_t>(count) * sizeof(value);
    if (end - start < std::ptrdiff_t(kPiece))
        FillShort(values, start, end);
    else
        FillLong(values, start, end);
}

template <class Overflow> class BadCast : public Overflow
{
public:
    const char* what() const noexcept override { return "bad cast"; }
};

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

void* U_Int32ToPointer(U_u32 number)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(number));
}

void* U_IntPtrToPointer(intptr_t number)
{
    return reinterpret_cast<void*>(number);
}

intptr_t U_PointerToIntPtr(void* pointer)
{
    return reinterpret_cast<intptr_t>(pointer);
}

U_u32 U_PointerToInt32(void* pointer)
{
    const intptr_t number = U_PointerToIntPtr(pointer);
    if (number < 0)
        throw BadCast<boost::numeric::negative_overflow>();
    if (number > 0xFFFFFFFF)
        throw BadCast<boost::numeric::positive_overflow>();
    return static_cast<U_u32>(number);
}
