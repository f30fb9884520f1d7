// The registered hogs and the counters of their live handles.

#ifndef INDEP_U_MEMORY_HOG_TABLE_H
#define INDEP_U_MEMORY_HOG_TABLE_H

#include <atomic>
#include <new>

#include <platform/base/quiet_new.h>

#include <platform/base/thread_local.h>

#include "U_Types.h"

// Called by birth and death. Up_HogBirth returns 0, or 4 with no table.
U_Status Up_HogBirth();
void Up_TerminateHogs();

// Converts an index to an identifier, and an identifier to an index. Small numbers are not
// identifiers, so most numbers that are passed by mistake are refused.
inline U_u32 HogIndexOrId(U_u32 indexOrId)
{
    return indexOrId ^ 0x31415926;
}

// Returns whether a hog is registered at the index. Takes no lock.
bool IsHog(U_u32 index);

// Adds to the number of live handles of a hog and to the bytes of their data. Takes no lock.
void CountHog(U_u32 index, U_i64 handles, U_i64 bytes);

// Reports a bad identifier, or a handle without a registered index, and returns 2.
U_Status RefuseHog(U_u32 location);

// The number of live handles plus 2^32 times the bytes of their data: one atomic step changes both.
// Sums and differences are correct modulo 2^64.
typedef U_u64 PackedCount;

inline PackedCount Pack(U_i64 handles, U_i64 bytes)
{
    return static_cast<U_u64>(handles) + (static_cast<U_u64>(bytes) << 32);
}

inline U_u32 HandlesOf(PackedCount count)
{
    return static_cast<U_u32>(count);
}

// Modulo 2^32. A negative number of handles has borrowed from the bytes, which is undone here.
inline U_u32 BytesOf(PackedCount count)
{
    const U_i32 handles = static_cast<U_i32>(HandlesOf(count));
    return static_cast<U_u32>((count - static_cast<U_u64>(static_cast<U_i64>(handles))) >> 32);
}

// Has a cache line of its own, so that threads that count different hogs do not slow each other.
struct alignas(platform::kCacheLine) HogCounter
{
    std::atomic<PackedCount> mLive{0};
};

// A growing array whose elements keep their addresses, so that counting takes no lock.
// Piece number p holds kFirstPiece << p elements. The pieces are never freed.
class HogCounters
{
public:
    // Makes room for the element. Returns false without memory.
    // Thread safety: one thread at a time; other threads may use elements that have room.
    bool MakeRoom(U_u32 index)
    {
        const platform::ScQuietNew quiet; // the table reports the failure
        const U_u32 piece = PieceOf(index);
        if (!mPieces[piece])
            mPieces[piece] = new (std::nothrow) HogCounter[kFirstPiece << piece];
        return mPieces[piece] != nullptr;
    }

    // Returns the bytes that MakeRoom allocates for an element without room.
    static U_u64 BytesOfPiece(U_u32 index)
    {
        return (U_u64(kFirstPiece) << PieceOf(index)) * sizeof(HogCounter);
    }

    // REQUIRES: MakeRoom for the element happens before this call.
    HogCounter& operator[](U_u32 index) const
    {
        const U_u32 piece = PieceOf(index);
        return mPieces[piece][index - FirstOf(piece)];
    }

    // Sets all elements to 0.
    // REQUIRES: no other thread counts.
    void Clear()
    {
        for (U_u32 piece = 0; piece < kPieces && mPieces[piece]; ++piece)
        {
            for (U_u32 element = 0; element < kFirstPiece << piece; ++element)
                mPieces[piece][element].mLive = 0;
        }
    }

private:
    static const U_u32 kFirstPiece = 16;
    static const U_u32 kPieces = 28; // enough for 2^32 elements

    static U_u32 PieceOf(U_u32 index)
    {
        return 31 - static_cast<U_u32>(__builtin_clz(index / kFirstPiece + 1));
    }
    static U_u32 FirstOf(U_u32 piece) { return kFirstPiece * ((U_u32(1) << piece) - 1); }

    HogCounter mFirst[kFirstPiece];
    HogCounter* mPieces[kPieces] = {mFirst};
};

#endif
