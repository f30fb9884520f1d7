// Heap, budget and hogs: do blocks keep their bytes, is use right to the byte, is the host asked
// for the right bytes, and does a refused call change nothing?

#include <algorithm>
#include <map>

#include <krobase/guid.h>
#include <platform/control.h>
#include <tolv/memory.h>
#include <tolv/toolbox.h>
#include <win32/process.h>

#include "U_Budget.h"
#include "U_Interact.h"
#include "U_MemServices.h"
#include "budget_model.h"
#include "heap_host.h"
#include "library.h"
#include "model.h"

// Replaces the function of the platform library, since its figures take most of the time of a
// purge and decide nothing.
int win32::GetProcessMemoryInfo(void*, PROCESS_MEMORY_COUNTERS*, unsigned int)
{
    return 0;
}

namespace
{
U_u64 sExternal = 0; // the bytes of the external manager
krobase::utility::Guid sManager;
int sHeapFailures = 0;

U_u32 Reports()
{
    U_u32 count = 0;
    Require(U_GetHowManyErrors(&count) == 0);
    return count;
}

// The host on one thread. The model makes each call first.
class Model
{
public:
    explicit Model(Choices& choices)
    {
        mModel.mTracked = kBaseUse;
        mModel.mBase = {kBaseUse * 2, kBaseUse * 3};
        U_SetMemUsageLimits(kBaseUse * 2, kBaseUse * 3);
        FillPool(choices);
        FillCache(choices);
        SetHost(choices);
        SetLimits(choices);
    }

    // Frees the blocks, and restores the limits and callbacks.
    ~Model()
    {
        U_SetPurgeRequestCallback(nullptr, nullptr);
        platform::SetUsageError(0);
        while (mModel.mDisabled--)
            U_EnableProactivePrePurging();
        U_SetPayAttentionToLowMemory(false);
        U_SetMemUsageLimits(0, 0);
        U_SetMemUsageLimitsOverride(0, 0);
        U_UnInstallExternalMemoryManager(sManager);
        sHeapFailures = 0;
        for (Block& block : mBlocks)
            Free(block);
        mCache.FreeAll();
        U_AccountAllocation(-mCharged);
        U_AccountFrameAllocation(-mFrames);
        U_PurgeRecycledMemory(~U_u64(0));
        U_FreePtr(U_AllocatePtrQuiet(2048)); // restarts the count of small blocks
        for (const U_u32 which : {U_MemStat_InUse, U_MemStat_InUseWithoutFrames})
            Require(Stat(which) == kBaseUse);
    }

    void Check()
    {
        Require(MEM_GetMemUsage() == mModel.mTracked);
        Require(U_GetRecycledMemorySize() == mModel.mPool);
        Limits limits;
        Require(U_GetMemUsageLimits(&limits.mPrepurge, &limits.mMaximum) == 0);
        const Limits inForce = mModel.InForce();
        Require(limits.mPrepurge == inForce.mPrepurge && limits.mMaximum == inForce.mMaximum);
        for (std::size_t hog = 0; hog < kHogs; ++hog)
        {
            Held held;
            for (const Block& block : mBlocks)
                held.Add(block, hog);
            held.RequireStats(hog);
        }
        Require(mRequested == mModel.mRequests.size());
        Require(sHeapFailures == mModel.mHeapFailures);
        for (std::size_t place = 0; place < kCachePlaces; ++place)
            Require(mCache.Has(place) == (mModel.mCache[place] != 0));
        Require(Reports() == mReports);
        mModel.mRequests.clear();
        mRequested = 0;
    }

    void New(Choices& choices)
    {
        Block* const block = FreeBlock();
        if (!block)
            return;
        Block made;
        made.mKind = static_cast<Kind>(choices.Below(kKinds));
        made.mSize = SizeOfBlock(choices);
        made.mHog = choices.Below(kHogs);
        const bool clear = choices.Flag();
        const char* const name = Name(choices);
        if (!Allocate(made, name, clear))
            return;
        made.Fill(choices.Byte());
        *block = made;
    }

    // Gives a recycled block to the pool.
    void FillPool(Choices& choices)
    {
        Block made;
        made.mKind = kRecycled;
        made.mSize = SizeOfBlock(choices);
        if (!Allocate(made, nullptr, false))
            return;
        made.Fill(0);
        Free(made);
    }

    void ResizeOne(Choices& choices)
    {
        Block& block = mBlocks[choices.Below(kBlocks)];
        if (!block.mAddress || block.mKind == kRecycled)
            return;
        const U_u64 size = SizeOfBlock(choices);
        const char* const name = Name(choices);
        if (block.mLocks)
        {
            Require(Resize(block, size, name) == 1);
            ++mReports;
            return;
        }
        const U_u64 asked = size + (block.mKind == kHogHandle ? kHogHeader : 0);
        const bool fits = mModel.AllocateInHeap(asked, size - block.mSize);
        mReports += !fits && name && mModel.mIsReported;
        Require(Resize(block, size, name) == (fits ? 0 : 4));
        if (!fits)
            return block.RequireSound();
        block.RequireBytes(std::min(block.mSize, size));
        block.mSize = size;
        block.Fill(choices.Byte());
    }

    void FreeOne(Choices& choices) { Free(mBlocks[choices.Below(kBlocks)]); }

    void Lock(Choices& choices)
    {
        Block& block = mBlocks[choices.Below(kBlocks)];
        if (!block.mAddress || block.mKind != kHogHandle)
            return;
        void** const handle = static_cast<void**>(block.mAddress);
        void* data = nullptr;
        if (choices.Flag())
        {
            Require(U_LockHogHandle(handle, &data) == 0 && data == block.Data());
            ++block.mLocks;
        }
        else
        {
            Require(U_UnlockHogHandle(handle) == 0);
            block.mLocks -= block.mLocks ? 1 : 0;
        }
    }

    // Copies a handle to a handle or a hog handle. Without memory the last two are reported.
    void Copy(Choices& choices)
    {
        const Block& source = mBlocks[choices.Below(kBlocks)];
        Block* const block = FreeBlock();
        const std::uint8_t sort = choices.Byte();
        if (sort % 8 >= 6)
            return CopyByToolbox(choices, source, block);
        const bool toHog = sort & 1;
        const char* const name = Name(choices);
        const bool isHog = source.mKind == kHogHandle;
        if (!block || !source.mAddress || (source.mKind != kHandle && !isHog) || (isHog && toHog) ||
            ((isHog || toHog) && mModel.mHeapFailures))
            return;
        Block made = source;
        made.mKind = toHog ? kHogHandle : kHandle;
        made.mLocks = 0;
        made.mHog = choices.Below(kHogs);
        const bool fits = mModel.AllocateInHeap(made.Charge(), made.Charge());
        mReports += !fits && (isHog || toHog || name) && mModel.mIsReported;
        void** const handle = static_cast<void**>(source.mAddress);
        void** out = nullptr;
        const U_Status status = isHog   ? U_NewHandleFromHogHandle(handle, &out)
                                : toHog ? U_NewHogHandleFromHandle(sHogs[made.mHog], handle, &out)
                                        : U_DuplicateHandle(handle, name, &out);
        Require(status == (fits ? 0 : 4) && fits == (out != nullptr));
        if (!fits)
            return source.RequireSound();
        made.mAddress = out;
        made.RequireSound();
        *block = made;
    }

    // Copies a handle to the toolbox, and the copy back, as a handle or a resource.
    void CopyByToolbox(Choices& choices, const Block& source, Block* block)
    {
        const char* const name = Name(choices);
        const bool isResource = choices.Flag();
        if (!block || !source.mAddress || source.mKind != kHandle || mModel.mHeapFailures)
            return;
        Block made = source;
        void** outside = nullptr;
        bool fits = mModel.Allocate(source.mSize, false, [] { return true; }); // is not tracked
        mReports += !fits && name && mModel.mIsReported;
        Require(U_DuplicateHandleToPlatform(static_cast<void**>(source.mAddress), name, &outside) ==
                (fits ? 0 : 4));
        Require(fits == (outside != nullptr));
        if (!fits)
            return source.RequireSound();
        Require(GetHandleSize(outside) == static_cast<int>(source.mSize));
        if (isResource)
            AddResource(outside);
        fits = mModel.AllocateInHeap(source.mSize, source.mSize);
        mReports += !fits && name && mModel.mIsReported;
        void** inside = nullptr;
        const auto copy = isResource ? U_DetachResource : U_DuplicateHandleFromPlatform;
        Require(copy(outside, name, &inside) == (fits || !isResource ? 0 : 4));
        Require(fits == (inside != nullptr));
        if (!fits || !isResource)
            DisposeHandle(outside);
        if (!fits)
            return;
        made.mAddress = inside;
        made.RequireSound();
        *block = made;
    }

    // Calls that are refused by their arguments, with a report.
    void Refused(Choices& choices)
    {
        const U_u64 size = (U_u64(1) << (31 + choices.Below(32))) + choices.Byte();
        const Kind kind = static_cast<Kind>(choices.Below(kKinds));
        void* data = this;
        U_u64 stored = 0;
        ++mReports;
        switch (choices.Below(6))
        {
        case 0:
            return Require(U_LockHogHandle(nullptr, &data) == 2 && !data);
        case 1:
            return Require(U_GetHogHandleSize(nullptr, &stored) == 2);
        case 2:
            return Require(U_FreeHogHandle(nullptr) == 2);
        case 3:
            return Require(U_AccountAllocationEx(size, true) == 3);
        case 4:
            return Require(!NewBlock(kind, size, "model", false, 0));
        default:
            --mReports; // quiet
            Require(!NewBlock(kind, size, nullptr, false, 0));
        }
    }

    void SetLimits(Choices& choices)
    {
        const bool isOverride = choices.Flag();
        const U_u64 above = choices.Size();
        const U_u64 below = choices.Size();
        const U_u64 gap = choices.Size();
        if (mModel.mUsageFails)
            return;
        const U_u64 prepurge = mModel.Use() + above - std::min(below, mModel.Use() + above);
        mModel.Set({prepurge, prepurge + gap}, isOverride);
        Require((isOverride ? U_SetMemUsageLimitsOverride
                            : U_SetMemUsageLimits)(prepurge, prepurge + gap) == 0);
    }

    void SetHost(Choices& choices)
    {
        mModel.mHasCallback = choices.Below(4) != 0;
        mModel.mAnswers.resize(choices.Below(7));
        for (std::uint8_t& answer : mModel.mAnswers)
            answer = choices.Byte();
        mModel.mAnswered = 0;
        mAnswered = 0;
        U_SetPurgeRequestCallback(mModel.mHasCallback ? &Model::Asked : nullptr, this);
    }

    void FillCache(Choices& choices)
    {
        const U_u64 size = 1 + SizeOfBlock(choices);
        mModel.FillCache(size);
        mCache.Fill(size);
    }

    void FailHeap(Choices& choices)
    {
        mModel.mHeapFailures = sHeapFailures = static_cast<int>(choices.Below(4));
    }

    // Blocks of the host's own count among the small blocks, and cost nothing.
    void SmallBlocks(Choices& choices)
    {
        const auto succeed = [](void*, bool* okay) { return *okay = true, 0; };
        for (std::size_t count = choices.Byte(); count; --count)
        {
            const bool fits = mModel.Allocate(100, false, [] { return true; });
            Require(U_PurgeLoop(100, succeed, nullptr, false) == (fits ? 0 : 4));
        }
    }

    void Charge(Choices& choices)
    {
        const U_i32 bytes = static_cast<U_i32>(choices.Size());
        const bool isFrame = choices.Flag();
        (isFrame ? mFrames : mCharged) += bytes;
        mModel.mTracked += static_cast<U_u64>(bytes);
        Require((isFrame ? U_AccountFrameAllocation(bytes) : U_AccountAllocation(bytes)) == 0);
    }

    void ChangeServices(Choices& choices)
    {
        const std::size_t number = choices.Size();
        switch (choices.Below(5))
        {
        case 0:
            ++mModel.mDisabled;
            Require(U_DisableProactivePrePurging() == 0);
            break;
        case 1:
            if (!mModel.mDisabled)
                break;
            --mModel.mDisabled;
            Require(U_EnableProactivePrePurging() == 0);
            break;
        case 2:
            mModel.mUsageFails = !mModel.mUsageFails;
            platform::SetUsageError(mModel.mUsageFails ? BudgetModel::kUsageFailure : 0);
            break;
        case 3:
            mModel.mPaysAttention = !mModel.mPaysAttention;
            mModel.mAvailable = BudgetModel::kFudge + number * 1024;
            platform::SetPhysicalMemory(BudgetModel::kMachine, mModel.mAvailable);
            U_SetPayAttentionToLowMemory(mModel.mPaysAttention);
            break;
        default:
            mModel.mExternal = sExternal = number;
            U_UnInstallExternalMemoryManager(sManager);
            if (number)
                U_InstallExternalMemoryManager(sManager, [] { return std::size_t(sExternal); });
        }
    }

    void PurgePool(Choices& choices)
    {
        const U_u64 bytes = choices.Size();
        Require(U_PurgeRecycledMemory(bytes) == mModel.PurgePool(bytes));
        if (choices.Below(4) == 3)
            Require(U_CompactMem() == 0 && U_PurgeHandlesAndCompact() == 0);
    }

    void CheckLimit(Choices& choices)
    {
        const U_u64 needed = choices.Size();
        bool hit = false;
        const bool over = mModel.CheckLimit(needed, &hit);
        bool isHit = !hit;
        bool isOver = !over;
        Require(U_CheckRAMPurgeLimit(&isOver, needed, &isHit) ==
                (mModel.mUsageFails ? BudgetModel::kUsageFailure : 0));
        Require(isHit == hit && isOver == over);
    }

    // The procedure of the host fails at first.
    void Loop(Choices& choices)
    {
        const U_u64 size = choices.Size();
        const bool recycled = choices.Flag();
        const std::size_t failures = choices.Below(4);
        std::size_t attempts = 0;
        mModel.Allocate(size, recycled, [&] { return attempts++ >= failures; });
        Procedure host{failures};
        const U_Status status = U_PurgeLoop(size, &Procedure::Attempt, &host, recycled);
        Require(host.mAttempts == attempts);
        Require(status == (!attempts ? 4 : attempts > failures ? 0 : Procedure::kFailure));
    }

    void Statistics(Choices&)
    {
        if (mModel.mUsageFails)
            return;
        const Limits limits = mModel.InForce();
        Require(Stat(U_MemStat_InUse) == mModel.Use());
        Require(Stat(U_MemStat_RoomToPrepurge) == mModel.RoomUnder(limits.mPrepurge, true));
        Require(Stat(U_MemStat_RoomToMaximum) == mModel.RoomUnder(limits.mMaximum, true));
        Require(Stat(U_MemStat_RoomForRecycled) == mModel.RoomUnder(limits.mPrepurge, false));
        Require(Stat(U_MemStat_InUseByLibrary) == mModel.mTracked);
        U_i64 frames = mFrames;
        for (const Block& block : mBlocks)
        {
            if (block.mAddress && block.mKind == kRecycled)
                frames += static_cast<U_i64>(block.Charge());
        }
        mModel.CheckLowMemory();
        Require(Stat(U_MemStat_InUseWithoutFrames) == mModel.Use() - static_cast<U_u64>(frames));
    }

private:
    static const std::size_t kBlocks = 8;

    static U_u64 SizeOfBlock(Choices& choices) { return choices.Size() % 30011; }

    // A failed heap that is reported measures the largest block, which takes long.
    const char* Name(Choices& choices) const
    {
        return choices.Flag() && !mModel.mHeapFailures ? "model" : nullptr;
    }

    Block* FreeBlock()
    {
        for (Block& block : mBlocks)
        {
            if (!block.mAddress)
                return &block;
        }
        return nullptr;
    }

    // Returns whether the block is there.
    bool Allocate(Block& made, const char* name, bool clear)
    {
        const U_u64 charge = made.Charge();
        const bool staysAsIs = mModel.mUsageFails && mModel.mHeapFailures; // by the header
        const bool fits = made.mKind == kRecycled
                              ? mModel.Allocate(made.mSize, true, [] { return true; })
                              : mModel.AllocateInHeap(charge, charge);
        mReports += !fits && name && mModel.mIsReported;
        made.mAddress = NewBlock(made.mKind, made.mSize, name, clear, made.mHog);
        Require(fits == (made.mAddress != nullptr));
        if (fits && made.mKind == kRecycled)
            TakeRounding(made);
        else if (fits && clear && !staysAsIs)
            made.RequireBytes(made.mSize);
        return fits;
    }

    // The charge is known when the block is there. New blocks of a size have one charge, and are
    // allocated only while the pool has no block of their bytes. A block of the pool may be larger.
    void TakeRounding(Block& block)
    {
        const U_u64 charge = MEM_GetMemUsage() - mModel.mTracked;
        const U_u64 bytes = charge - kRecycledHeader;
        Require(bytes >= block.LeastBytes() && bytes <= block.MostBytes());
        block.mRounding = charge - block.mSize;
        mModel.mTracked += charge;
        const auto known = mOfNew.find(block.mSize);
        if (U_GetRecycledMemorySize() != mModel.mPool)
        {
            Require(known == mOfNew.end() || known->second <= bytes);
            return Require(mModel.TakeFromPool(bytes));
        }
        Require(!mModel.mFreed.count(bytes));
        Require(mOfNew.emplace(block.mSize, bytes).first->second == bytes);
    }

    void Free(Block& block)
    {
        if (!block.Free())
            return;
        mModel.mTracked -= block.Charge();
        if (block.mKind == kRecycled)
            mModel.GiveToPool(block.Charge() - kRecycledHeader);
    }

    // The purge callback.
    static int Asked(void* refcon, U_u64 blockRequest, U_u64 amount, bool* flag)
    {
        Model& self = *static_cast<Model*>(refcon);
        Require(self.mRequested < self.mModel.mRequests.size());
        const Request& expected = self.mModel.mRequests[self.mRequested++];
        Require(blockRequest == expected.mBlock && amount == expected.mAmount);
        const std::vector<std::uint8_t>& answers = self.mModel.mAnswers;
        const unsigned answer = self.mAnswered < answers.size() ? answers[self.mAnswered++] : 0;
        return self.mCache.Answer(answer, flag);
    }

    BudgetModel mModel;
    Block mBlocks[kBlocks];
    HostCache mCache;
    U_i32 mCharged = 0;
    U_i32 mFrames = 0;
    std::size_t mAnswered = 0;
    std::size_t mRequested = 0;
    std::map<U_u64, U_u64> mOfNew; // the bytes of new recycled blocks, by size
    U_u32 mReports = Reports();
};

constexpr void (Model::*kCalls[])(Choices&) = {
    &Model::New,         &Model::New,        &Model::New,       &Model::ResizeOne,
    &Model::ResizeOne,   &Model::FreeOne,    &Model::Lock,      &Model::Copy,
    &Model::Refused,     &Model::SetLimits,  &Model::SetLimits, &Model::SetHost,
    &Model::FillCache,   &Model::FailHeap,   &Model::Charge,    &Model::ChangeServices,
    &Model::PurgePool,   &Model::CheckLimit, &Model::Loop,      &Model::Statistics,
    &Model::SmallBlocks, &Model::FillPool};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    platform::SetHeapFailure([](unsigned long long) { return sHeapFailures && sHeapFailures--; });
    platform::SetPhysicalMemory(BudgetModel::kMachine, BudgetModel::kMachine);
    sManager.mBytes[0] = 1;
    BeBorn();
    for (U_u32& hog : sHogs)
        Require(U_RegisterHog("model", &hog) == 0);
    // The requests are 2 % of the prepurge limit and more. Small ones need a small use.
    Require(U_AccountSystemAllocation(static_cast<U_i64>(kBaseUse - MEM_GetMemUsage())) == 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices(data, size);
    if (choices.Below(32) == 31)
    {
        RunTwoThreads(choices);
        const Model rest(choices); // checks the figures that the threads have left
        return 0;
    }
    Model model(choices);
    RunCalls(choices, model, kCalls);
    return 0;
}
