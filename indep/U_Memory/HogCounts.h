// What has come and gone of each hog, in shares that one thread each counts in.
//
// A share is written by its thread alone, so that a hog handle takes no lock and
// writes nothing that other threads write.

#ifndef INDEP_U_MEMORY_HOG_COUNTS_H
#define INDEP_U_MEMORY_HOG_COUNTS_H

#include <atomic>
#include <new>
#include <utility>

#include <cache_line.h>
#include <thread_local.h>

#include "U_Types.h"

// Handles, and 2^32 times the bytes of their data, in one figure: both are counted in
// one write. Sums and differences are right modulo 2^64.
typedef U_u64 HogTally;

inline HogTally TallyOf(U_u64 handles, U_u64 bytes)
{
    return handles + (bytes << 32);
}

inline U_u32 HandlesOf(HogTally tally)
{
    return static_cast<U_u32>(tally);
}

// Modulo 2^32. Fewer handles than none have borrowed from the bytes.
inline U_u32 BytesOf(HogTally tally)
{
    const U_i32 handles = static_cast<U_i32>(HandlesOf(tally));
    return static_cast<U_u32>((tally - static_cast<U_u64>(static_cast<U_i64>(handles))) >> 32);
}

// One hog's tallies, which are written by one thread at a time.
class HogCell
{
public:
    void AddMade(HogTally more) { Add(mMade, more); }
    void AddGone(HogTally more) { Add(mGone, more); }
    HogTally Made() const { return mMade.load(std::memory_order_acquire); }
    HogTally Gone() const { return mGone.load(std::memory_order_acquire); }

    void Set(HogTally made, HogTally gone)
    {
        mMade.store(made, std::memory_order_release);
        mGone.store(gone, std::memory_order_release);
    }

private:
    static void Add(std::atomic<HogTally>& tally, HogTally more)
    {
        tally.store(tally.load(std::memory_order_relaxed) + more, std::memory_order_release);
    }

    std::atomic<HogTally> mMade{0};
    std::atomic<HogTally> mGone{0};
};

// Cells in cache lines that nothing else stands in.
class HogCells
{
public:
    static const U_u32 kStep = 16; // cells come in multiples of it

    HogCells() = default;
    HogCells(const HogCells&) = delete;
    HogCells& operator=(const HogCells&) = delete;
    ~HogCells() { ::operator delete(mFirst, kLine); }

    // Makes that many; false without memory. To be called once.
    bool Make(U_u32 count);

    U_u32 Count() const { return mCount; }
    HogCell& operator[](U_u32 index) { return mFirst[index]; }

    void Swap(HogCells& other)
    {
        std::swap(mFirst, other.mFirst);
        std::swap(mCount, other.mCount);
    }

private:
    static const std::align_val_t kLine = std::align_val_t(platform::kCacheLine);

    HogCell* mFirst = nullptr;
    U_u32 mCount = 0;
};

// A thread's share. Its thread alone puts other cells in it, under a lock, and counts in
// them without one.
struct HogShare
{
    HogCells mCells; // by the hog's index
    HogShare* mNext = nullptr;
    HogShare* mNextIdle = nullptr;
};

extern PLATFORM_THREAD_LOCAL HogShare* tHogShare; // null until the thread counts

// The calling thread's share, with room for the hog's cell. Null without memory.
HogShare* MakeHogShare(U_u32 index);

// The calling thread's cell for a hog; null without memory. In line by order: a call
// would cost as much as the counting.
[[gnu::always_inline]] inline HogCell* MyHogCell(U_u32 index)
{
    HogShare* share = tHogShare;
    if (!share || index >= share->mCells.Count())
        share = MakeHogShare(index);
    return share ? &share->mCells[index] : nullptr;
}

// What lives of a hog by the cells of all threads, those that have ended included.
// While threads count it is a figure of about now, in which no handle has gone that
// hasn't been made.
HogTally LiveByShares(U_u32 index);

// Empties the shares of all threads, none of which may be counting.
void ClearShares();

#endif
