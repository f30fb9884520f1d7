// The live handles and bytes of each hog.

#ifndef INDEP_U_MEMORY_HOG_COUNTS_H
#define INDEP_U_MEMORY_HOG_COUNTS_H

#include <atomic>

#include <platform/base/thread_local.h>

#include "U_Types.h"

// Handles, and 2^32 times the bytes of their data, in one word: one atomic step counts
// both. Sums and differences are right modulo 2^64.
typedef U_u64 HogTally;

inline HogTally TallyOf(U_i64 handles, U_i64 bytes)
{
    return static_cast<U_u64>(handles) + (static_cast<U_u64>(bytes) << 32);
}

inline U_u32 HandlesOf(HogTally tally)
{
    return static_cast<U_u32>(tally);
}

// Modulo 2^32. A negative number of handles has borrowed from the bytes.
inline U_u32 BytesOf(HogTally tally)
{
    const U_i32 handles = static_cast<U_i32>(HandlesOf(tally));
    return static_cast<U_u32>((tally - static_cast<U_u64>(static_cast<U_i64>(handles))) >> 32);
}

// On a cache line of its own: threads that count different hogs do not slow each other down.
struct alignas(platform::kCacheLine) HogCount
{
    std::atomic<HogTally> mLive{0};
};

// A growing array whose elements keep their addresses, so that counting takes no lock.
// Piece number p holds kFirstPiece << p elements. The pieces are never freed.
class HogCounts
{
public:
    // Makes room for the element. False without memory. Not thread-safe with itself.
    bool MakeRoom(U_u32 index);

    // The bytes that MakeRoom allocates for an element without room.
    static U_u64 BytesOfPiece(U_u32 index)
    {
        return (U_u64(kFirstPiece) << PieceOf(index)) * sizeof(HogCount);
    }

    // REQUIRES: room has been made for the element, and the caller has learnt of the index
    // from the thread that made it.
    HogCount& operator[](U_u32 index) const
    {
        const U_u32 piece = PieceOf(index);
        return mPieces[piece][index - FirstOf(piece)];
    }

    // Sets all elements to 0. No other thread may be counting.
    void Clear();

private:
    static const U_u32 kFirstPiece = 16;
    static const U_u32 kPieces = 28; // enough for 2^32 elements

    static U_u32 PieceOf(U_u32 index)
    {
        return 31 - static_cast<U_u32>(__builtin_clz(index / kFirstPiece + 1));
    }
    static U_u32 FirstOf(U_u32 piece) { return kFirstPiece * ((U_u32(1) << piece) - 1); }

    HogCount mFirst[kFirstPiece];
    HogCount* mPieces[kPieces] = {mFirst};
};

#endif
