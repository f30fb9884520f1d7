// A model of the budget: the figures, the limits and the requests to purge of U_Budget.h, for a
// process with one thread.

#ifndef FUZZ_BUDGET_MODEL_H
#define FUZZ_BUDGET_MODEL_H

#include <algorithm>
#include <set>
#include <vector>

#include "U_Types.h"

// An answer of the host to a request, of one byte: the lowest three bits are the sort, the others
// its number.
enum HostAnswer
{
    kFreesNothing,
    kFreesOne,
    kFreesTwo,
    kSetsFlag,
    kSetsFlagAndFreesOne,
    kAllocates, // a quiet block for the cache of the host
    kFails,
    kPurgesPool
};

// The host has a cache of so many blocks. It frees the first ones, and allocates in the first free
// place.
const std::size_t kCachePlaces = 4;

struct Limits
{
    U_u64 mPrepurge = 0;
    U_u64 mMaximum = 0;
};

struct Request
{
    U_u64 mBlock;
    U_u64 mAmount;
};

class BudgetModel
{
public:
    static constexpr U_u64 kMachine = U_u64(8) << 30; // physical memory
    static constexpr U_u64 kFudge = 250 << 20;
    static constexpr U_Status kUsageFailure = -50;

    U_u64 Use(bool withPool = true) const { return mTracked + mExternal + (withPool ? mPool : 0); }

    Limits InForce() const
    {
        Limits limits = mBase;
        if (!limits.mPrepurge)
            return {static_cast<U_u64>(0.7 * static_cast<double>(kMachine)), kMachine};
        if (mOverride.mPrepurge)
            limits.mPrepurge = std::min(limits.mPrepurge, mOverride.mPrepurge);
        if (mOverride.mMaximum)
            limits.mMaximum = std::min(limits.mMaximum, mOverride.mMaximum);
        return limits;
    }

    void Set(Limits limits, bool isOverride)
    {
        limits.mMaximum = std::max(limits.mPrepurge, limits.mMaximum);
        limits.mPrepurge = std::min(limits.mPrepurge, limits.mMaximum - (1 << 20));
        Lower(&limits);
        (isOverride ? mOverride : mBase) = limits;
    }

    void CheckLowMemory()
    {
        if (!mUsageFails)
            Lower(&mBase);
    }

    // Returns whether the block is allocated. `attempt` returns whether an attempt succeeds.
    template <typename Attempt> bool Allocate(U_u64 size, bool recycled, Attempt attempt)
    {
        mIsReported = true;
        if (size > 0x7FFFFFFF || !MayAllocate(size, recycled))
            return false;
        U_u64 use = 0;
        for (int attempts = 1;; ++attempts)
        {
            if (attempt())
                return true;
            U_u64 room = 0;
            if (!mUsageFails)
                room = RoomUnder(InForce().mPrepurge, !recycled);
            MakeRoom(room + size, recycled);
            const U_u64 before = use;
            CheckLowMemory();
            if (!mUsageFails)
                use = Use(!recycled);
            if (attempts > 1 && use >= before)
                return false;
        }
    }

    // The same for a block of the library's heap, of which some attempts fail. The use grows by
    // `growth`.
    bool AllocateInHeap(U_u64 size, U_u64 growth)
    {
        const bool succeeds =
            Allocate(size, false, [this] { return !mHeapFailures || !mHeapFailures--; });
        mTracked += succeeds ? growth : 0;
        return succeeds;
    }

    // The comparison of U_CheckRAMPurgeLimit. Returns whether use is still above the limit.
    bool CheckLimit(U_u64 needed, bool* hit)
    {
        const U_u64 limit = InForce().mPrepurge;
        *hit = mUsageFails || Use(false) + needed > limit;
        bool over = *hit;
        for (int run = 0; run < 3 && over && !mUsageFails; ++run)
        {
            MakeRoom(needed + 1, true);
            over = Use(false) + needed > limit;
        }
        return over;
    }

    // Which blocks are left after a part was purged is not known.
    U_u64 PurgePool(U_u64 bytes)
    {
        const U_u64 purged = std::min(bytes, mPool);
        mPool -= purged;
        if (purged)
            mFreed.clear();
        mKnowsPool = !mPool || (mKnowsPool && !purged);
        return purged;
    }

    void GiveToPool(U_u64 bytes)
    {
        mPool += bytes;
        mFreed.insert(bytes);
    }

    // Returns whether the pool may have had a block of so many bytes.
    bool TakeFromPool(U_u64 bytes)
    {
        const auto found = mFreed.find(bytes);
        const bool isKnown = found != mFreed.end();
        if (isKnown)
            mFreed.erase(found);
        mPool -= std::min(bytes, mPool);
        return isKnown || !mKnowsPool;
    }

    static U_u64 RoomUnder(U_u64 limit, U_u64 use) { return limit > use ? limit - use : 0; }
    U_u64 RoomUnder(U_u64 limit, bool withPool) const { return RoomUnder(limit, Use(withPool)); }

    U_u64 mTracked = 0;
    U_u64 mPool = 0;
    std::multiset<U_u64> mFreed; // the blocks of the pool, all of them if mKnowsPool is set
    bool mKnowsPool = true;
    U_u64 mExternal = 0;
    Limits mBase;
    Limits mOverride;
    bool mHasCallback = false;
    bool mUsageFails = false;
    bool mPaysAttention = false;
    U_u64 mAvailable = kMachine;
    int mDisabled = 0;
    int mHeapFailures = 0;              // the next attempts that fail
    U_u32 mSmallBlocks = 0;             // in a row
    bool mIsReported = true;            // the failure of the latest block, if the block has a name
    std::vector<std::uint8_t> mAnswers; // to the next requests; without an answer nothing is freed
    std::size_t mAnswered = 0;
    std::vector<Request> mRequests;  // since the caller has cleared them
    U_u64 mCache[kCachePlaces] = {}; // the sizes of the host's blocks, 0 for none

private:
    void Lower(Limits* limits) const
    {
        if (!mPaysAttention || !limits->mPrepurge)
            return;
        const U_i64 free = static_cast<U_i64>(mAvailable - kFudge);
        const U_i64 use = static_cast<U_i64>(Use());
        if (free < static_cast<U_i64>(limits->mPrepurge) - use)
            limits->mPrepurge = static_cast<U_u64>(std::max<U_i64>(use + free, 1));
    }

    bool MayAllocate(U_u64 size, bool recycled)
    {
        if (mDisabled || (size < 2048 && ++mSmallBlocks < 256))
            return true;
        mSmallBlocks = 0;
        if (mUsageFails)
            return mIsReported = false;
        const Limits limits = InForce();
        if (Use(!recycled) + size > limits.mPrepurge)
        {
            const double ahead = 0.02 * static_cast<double>(limits.mPrepurge);
            MakeRoom(static_cast<U_u64>(static_cast<double>(size) + ahead), recycled);
            return Use(!recycled) + size <= limits.mMaximum;
        }
        if (recycled && Use() > limits.mPrepurge)
        {
            const U_u64 excess = Use() - limits.mPrepurge;
            MakeRoom(size + excess, true);
            if (mPool > excess)
                PurgePool(excess);
            else
                MakeRoom(1, false);
        }
        return true;
    }

    // Asks the host while use falls.
    void MakeRoom(U_u64 request, bool recycled)
    {
        const U_u64 limit = InForce().mPrepurge;
        bool flag = false;
        U_u64 before = ~U_u64(0);
        while (mHasCallback && !mUsageFails && Use(!recycled) + request > limit)
        {
            const U_u64 use = Use(!recycled);
            const U_u64 amount = use - limit + request;
            if (use < before)
            {
                if (!Ask({request, amount}, &flag))
                    return;
            }
            else if (!flag || recycled || PurgePool(amount) < amount)
                return;
            before = use;
        }
    }

    // Returns false if the host fails.
    bool Ask(const Request& request, bool* flag)
    {
        mRequests.push_back(request);
        const unsigned answer = mAnswered < mAnswers.size() ? mAnswers[mAnswered++] : 0;
        const unsigned sort = answer % 8;
        *flag = *flag || sort == kSetsFlag || sort == kSetsFlagAndFreesOne;
        if (sort == kFreesOne || sort == kFreesTwo || sort == kSetsFlagAndFreesOne)
            FreeCached(sort == kFreesTwo ? 2 : 1);
        if (sort == kPurgesPool)
            PurgePool(answer * 64);
        if (sort == kAllocates)
            FillCache(SizeOf(answer));
        return sort != kFails;
    }

    void FreeCached(int count)
    {
        for (U_u64& size : mCache)
        {
            if (!size || !count)
                continue;
            mTracked -= size;
            size = 0;
            --count;
        }
    }

public:
    static U_u64 SizeOf(unsigned answer) { return 1 + answer * 50; }

    U_u64* FreePlace() { return std::find(mCache, mCache + kCachePlaces, U_u64(0)); }
    bool IsCacheFull() { return FreePlace() == mCache + kCachePlaces; }

    // Allocates a block for the cache. A request within the allocation may fill the cache.
    void FillCache(U_u64 size)
    {
        if (IsCacheFull() || !AllocateInHeap(size, size))
            return;
        if (IsCacheFull())
            mTracked -= size;
        else
            *FreePlace() = size;
    }
};

#endif
