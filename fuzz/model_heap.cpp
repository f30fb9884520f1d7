// Heap, budget and hogs: do blocks keep their bytes, is use right to the byte, is the host asked
// for the right bytes, and does a refused call change nothing?

#include <cstdlib>
#include <cstring>
#include <mutex>

#include <krobase/guid.h>
#include <platform/control.h>
#include <tolv/memory.h>
#include <win32/process.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Hog.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_MemServices.h"
#include "budget_model.h"
#include "library.h"
#include "model.h"
#include "second_thread.h"

// Replaces the function of the platform library, since its figures take most of the time of a
// purge and decide nothing.
int win32::GetProcessMemoryInfo(void*, PROCESS_MEMORY_COUNTERS*, unsigned int)
{
    return 0;
}

namespace
{
const U_u64 kBaseUse = 100000; // at the start of each input
const U_u64 kHogHeader = 16;
const U_u64 kRecycledHeader = 16;
const std::size_t kHogs = 2;
const U_Status kProcedureFailure = 77;

U_u32 sHogs[kHogs];
U_u64 sExternal = 0; // the bytes of the external manager
krobase::utility::Guid sManager;
int sHeapFailures = 0;

enum Kind
{
    kPointer,
    kHandle,
    kHogHandle,
    kRecycled,
    kKinds
};

struct Block
{
    void* Data() const
    {
        if (mKind == kHogHandle)
            return static_cast<char*>(*static_cast<void**>(mAddress)) + kHogHeader;
        return mKind == kHandle ? *static_cast<void**>(mAddress) : mAddress;
    }

    U_u64 Charge() const { return mSize + (mKind == kHogHandle ? kHogHeader : 0) + mRounding; }

    void Fill(std::uint8_t byte)
    {
        mByte = byte;
        std::memset(Data(), byte, mSize);
    }

    // The first `count` bytes are those of Fill.
    void RequireBytes(U_u64 count) const
    {
        const std::uint8_t* const bytes = static_cast<const std::uint8_t*>(Data());
        Require(!count || (bytes[0] == mByte && !std::memcmp(bytes, bytes + 1, count - 1)));
    }

    void RequireSound() const
    {
        U_u64 size = mSize;
        U_u32 ofHandle = 0;
        if (mKind == kPointer)
            Require(U_GetPtrSize(mAddress, &size) == 0);
        if (mKind == kHogHandle)
            Require(U_GetHogHandleSize(static_cast<void**>(mAddress), &size) == 0);
        if (mKind == kHandle || mKind == kHogHandle)
            Require(U_GetHandleSize(static_cast<void**>(mAddress), &ofHandle) == 0 &&
                    ofHandle == Charge());
        Require(size == mSize);
        RequireBytes(mSize);
    }

    // Returns whether there was a block.
    bool Free()
    {
        if (!mAddress)
            return false;
        RequireSound();
        void** const handle = static_cast<void**>(mAddress);
        Require((mKind == kPointer     ? U_FreePtr(mAddress)
                 : mKind == kHandle    ? U_FreeHandle(handle)
                 : mKind == kHogHandle ? U_FreeHogHandle(handle)
                                       : U_FreeRecycledPtr(mAddress)) == 0);
        mAddress = nullptr;
        return true;
    }

    Kind mKind = kPointer;
    void* mAddress = nullptr; // of the block, or the handle
    U_u64 mSize = 0;
    U_u64 mRounding = 0; // of a recycled block, with the headers
    std::uint8_t mByte = 0;
    std::size_t mHog = 0;
    unsigned mLocks = 0;
};

void* NewBlock(Kind kind, U_u64 size, const char* name, bool clear, std::size_t hog)
{
    if (kind == kHogHandle)
    {
        void** handle = nullptr;
        const U_u32 flags = U_Hog_Clear * clear | U_Hog_Quiet * !name;
        const U_Status status = U_NewHogHandle(sHogs[hog], 1, name, size, flags, &handle);
        Require(status == (handle ? 0 : 4));
        return handle;
    }
    if (kind == kRecycled)
        return U_AllocateRecycledPtr(1, name, size);
    if (kind == kPointer)
        return name ? (clear ? U_AllocatePtrClear : U_AllocatePtr)(1, name, size)
                    : (clear ? U_AllocatePtrClearQuiet : U_AllocatePtrQuiet)(size);
    return name ? (clear ? U_AllocateHandleClear : U_AllocateHandle)(1, name, size)
                : (clear ? U_AllocateHandleClearQuiet : U_AllocateHandleQuiet)(size);
}

// Returns the result of the call, and the address of a pointer that moved.
U_Status Resize(Block& block, U_u64 size, const char* name)
{
    void** handle = static_cast<void**>(block.mAddress);
    if (block.mKind == kHogHandle)
        return U_ResizeHogHandle(1, name, size, handle);
    if (block.mKind == kHandle)
    {
        const U_Status status = U_ResizeHandle(1, size, name, &handle);
        Require(handle == block.mAddress);
        return status;
    }
    void* pointer = block.mAddress;
    const U_Status status =
        name ? U_ResizePtr(1, size, name, &pointer) : U_ResizePtrQuiet(size, &pointer);
    Require((status == 0) == (pointer != nullptr));
    if (pointer)
        block.mAddress = pointer;
    return status;
}

U_u64 Stat(U_u32 which)
{
    U_u64 value = 0;
    Require(U_GetMemoryStat(which, &value) == 0);
    return value;
}

U_u32 Reports()
{
    U_u32 count = 0;
    Require(U_GetHowManyErrors(&count) == 0);
    return count;
}

// The host on one thread. It does what the model has done before.
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
        for (void* cached : mCache)
            U_FreePtr(cached);
        U_AccountAllocation(-mCharged);
        U_AccountFrameAllocation(-mFrames);
        U_PurgeRecycledMemory(~U_u64(0));
        U_FreePtr(U_AllocatePtrQuiet(2048)); // restarts the count of small blocks
        Require(Stat(U_MemStat_InUse) == kBaseUse);
        Require(Stat(U_MemStat_InUseWithoutFrames) == kBaseUse);
    }

    void Check()
    {
        Require(MEM_GetMemUsage() == mModel.mTracked);
        Require(U_GetRecycledMemorySize() == mModel.mPool);
        Limits limits;
        Require(U_GetMemUsageLimits(&limits.mPrepurge, &limits.mMaximum) == 0);
        Require(limits.mPrepurge == mModel.InForce().mPrepurge);
        Require(limits.mMaximum == mModel.InForce().mMaximum);
        for (std::size_t hog = 0; hog < kHogs; ++hog)
        {
            U_u32 count = 0;
            U_u32 bytes = 0;
            for (const Block& block : mBlocks)
            {
                const bool isOfHog =
                    block.mAddress && block.mKind == kHogHandle && block.mHog == hog;
                count += isOfHog;
                bytes += isOfHog ? static_cast<U_u32>(block.mSize) : 0;
            }
            U_u32 counted[2] = {};
            Require(U_GetHogStats(sHogs[hog], &counted[0], &counted[1]) == 0);
            Require(counted[0] == count && counted[1] == bytes);
        }
        Require(mRequested == mModel.mRequests.size());
        Require(sHeapFailures == mModel.mHeapFailures);
        for (std::size_t place = 0; place < kCachePlaces; ++place)
            Require(!mCache[place] == !mModel.mCache[place]);
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
        const bool toHog = choices.Flag();
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
        FillRealCache(size);
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
        struct
        {
            std::size_t failures;
            std::size_t attempts;
        } host = {failures, 0};
        const auto attempt = [](void* refcon, bool* okay) {
            auto& self = *static_cast<decltype(host)*>(refcon);
            Require(!*okay);
            *okay = self.attempts++ >= self.failures;
            return *okay ? 0 : kProcedureFailure;
        };
        const U_Status status = U_PurgeLoop(size, attempt, &host, recycled);
        Require(host.attempts == attempts);
        Require(status == (!attempts ? 4 : attempts > failures ? 0 : kProcedureFailure));
    }

    void Statistics(Choices&)
    {
        if (mModel.mUsageFails)
            return;
        const Limits limits = mModel.InForce();
        const U_u64 tracked = mModel.mTracked;
        Require(Stat(U_MemStat_InUse) == mModel.Use());
        Require(Stat(U_MemStat_RoomToPrepurge) == mModel.RoomUnder(limits.mPrepurge, true));
        Require(Stat(U_MemStat_RoomToMaximum) == mModel.RoomUnder(limits.mMaximum, true));
        Require(Stat(U_MemStat_RoomForRecycled) == mModel.RoomUnder(limits.mPrepurge, false));
        Require(Stat(U_MemStat_InUseByLibrary) == tracked);
        U_i64 frames = mFrames;
        for (const Block& block : mBlocks)
            frames +=
                block.mAddress && block.mKind == kRecycled ? static_cast<U_i64>(block.Charge()) : 0;
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
        bool fits = false;
        if (made.mKind == kRecycled)
            fits = mModel.Allocate(made.mSize, true, [] { return true; });
        else
            fits = mModel.AllocateInHeap(charge, charge);
        mReports += !fits && name && mModel.mIsReported;
        made.mAddress = NewBlock(made.mKind, made.mSize, name, clear, made.mHog);
        Require(fits == (made.mAddress != nullptr));
        if (fits && made.mKind == kRecycled)
            TakeRounding(made);
        else if (fits && clear && !mModel.mUsageFails)
            made.RequireBytes(made.mSize);
        return fits;
    }

    // The bytes of a recycled block are known when it is there.
    void TakeRounding(Block& block)
    {
        const U_u64 charge = MEM_GetMemUsage() - mModel.mTracked;
        const U_u64 bytes = charge - kRecycledHeader;
        const U_u64 wanted = block.mSize + kRecycledHeader;
        Require(bytes >= wanted && bytes <= wanted + wanted * 2 / 5 + 64);
        block.mRounding = charge - block.mSize;
        mModel.mTracked += charge;
        if (U_GetRecycledMemorySize() != mModel.mPool)
            mModel.PurgePool(bytes); // taken from the pool
    }

    void Free(Block& block)
    {
        if (!block.Free())
            return;
        mModel.mTracked -= block.Charge();
        if (block.mKind == kRecycled)
            mModel.mPool += block.Charge() - kRecycledHeader;
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
        switch (answer % 8)
        {
        case kFreesTwo:
            self.FreeCached();
            self.FreeCached();
            break;
        case kSetsFlag:
            *flag = true;
            break;
        case kSetsFlagAndFreesOne:
            *flag = true;
            self.FreeCached();
            break;
        case kFreesOne:
            self.FreeCached();
            break;
        case kAllocates:
            self.FillRealCache(BudgetModel::SizeOf(answer));
            break;
        case kPurgesPool:
            U_PurgeRecycledMemory(answer * 64);
            break;
        case kFails:
            return 9;
        }
        return 0;
    }

    void FreeCached()
    {
        const auto place =
            std::find_if(mCache, mCache + kCachePlaces, [](void* cached) { return cached; });
        if (place == mCache + kCachePlaces)
            return;
        U_FreePtr(*place);
        *place = nullptr;
    }

    void FillRealCache(U_u64 size)
    {
        const auto freePlace = [this] { return std::find(mCache, mCache + kCachePlaces, nullptr); };
        if (freePlace() == mCache + kCachePlaces)
            return;
        void* const cached = U_AllocatePtrQuiet(size);
        if (freePlace() == mCache + kCachePlaces)
            U_FreePtr(cached);
        else
            *freePlace() = cached;
    }

    BudgetModel mModel;
    Block mBlocks[kBlocks];
    void* mCache[kCachePlaces] = {};
    U_i32 mCharged = 0;
    U_i32 mFrames = 0;
    std::size_t mAnswered = 0;
    std::size_t mRequested = 0;
    U_u32 mReports = Reports();
};

constexpr void (Model::*kCalls[])(Choices&) = {
    &Model::New,         &Model::New,        &Model::New,       &Model::ResizeOne,
    &Model::ResizeOne,   &Model::FreeOne,    &Model::Lock,      &Model::Copy,
    &Model::Refused,     &Model::SetLimits,  &Model::SetLimits, &Model::SetHost,
    &Model::FillCache,   &Model::FailHeap,   &Model::Charge,    &Model::ChangeServices,
    &Model::PurgePool,   &Model::CheckLimit, &Model::Loop,      &Model::Statistics,
    &Model::SmallBlocks, &Model::FillPool};

// A host on two threads: each has its own blocks, and either may be refused.
class HostThread
{
public:
    HostThread(Choices choices, bool isTight) : mChoices(choices), mIsTight(isTight) {}

    void Run()
    {
        while (!mChoices.Empty())
        {
            Block& block = mBlocks[mChoices.Below(kBlocks)];
            if (!block.mAddress)
                New(block);
            else if (mChoices.Flag())
                block.Free();
            else if (block.mKind != kRecycled)
                ResizeOne(block);
        }
    }

    // Adds the charges, the pool and the counts of the hog to the sums.
    void AddTo(U_u64* charge, U_u32* count, U_u32* bytes) const
    {
        for (const Block& block : mBlocks)
        {
            const bool isHog = block.mAddress && block.mKind == kHogHandle;
            *charge += block.mAddress ? block.Charge() : 0;
            *count += isHog;
            *bytes += isHog ? static_cast<U_u32>(block.mSize) : 0;
        }
    }

    void FreeAll()
    {
        for (Block& block : mBlocks)
            block.Free();
    }

private:
    static const std::size_t kBlocks = 4;

    // Under a tight limit all blocks are measured, and are compared with all of the use.
    U_u64 Size() { return (mIsTight ? 2048 : 0) + mChoices.Size() % 30011; }

    void New(Block& block)
    {
        block.mKind = static_cast<Kind>(mChoices.Below(mIsTight ? kRecycled : kHogHandle + 1));
        block.mSize = Size();
        block.mHog = 0;
        block.mAddress = NewBlock(block.mKind, block.mSize, nullptr, mChoices.Flag(), 0);
        if (block.mAddress)
            block.Fill(mChoices.Byte());
    }

    void ResizeOne(Block& block)
    {
        const U_u64 size = Size();
        const U_Status status = Resize(block, size, nullptr);
        if (status)
            return Require(status == 4), block.RequireSound();
        block.RequireBytes(std::min(block.mSize, size));
        block.mSize = size;
        block.Fill(mChoices.Byte());
    }

    Choices mChoices;
    const bool mIsTight;
    Block mBlocks[kBlocks];
};

void RunTwoThreads(Choices& choices)
{
    static SecondThread second;
    const bool isTight = choices.Flag();
    const U_u64 maximum = kBaseUse + choices.Size();
    static std::atomic<unsigned> sRequests{0};
    if (isTight)
        U_SetMemUsageLimits(kBaseUse, maximum);
    U_SetPurgeRequestCallback(
        [](void*, U_u64 request, U_u64 amount, bool*) {
            ++sRequests;
            return Require(request && amount), 0;
        },
        nullptr);
    HostThread own(choices.Half(), isTight);
    HostThread other(choices, isTight);
    second.RunBoth([&] { own.Run(); }, [&] { other.Run(); });
    U_u64 charge = kBaseUse;
    U_u32 count = 0;
    U_u32 bytes = 0;
    U_u32 counted[2] = {};
    own.AddTo(&charge, &count, &bytes);
    other.AddTo(&charge, &count, &bytes);
    Require(Stat(U_MemStat_InUse) == charge);
    Require(!isTight || charge <= maximum);
    Require(U_GetHogStats(sHogs[0], &counted[0], &counted[1]) == 0);
    Require(counted[0] == count && counted[1] == bytes);
    own.FreeAll();
    other.FreeAll();
}
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
    if (choices.Below(8) == 7)
    {
        RunTwoThreads(choices);
        const Model rest(choices); // what the threads have left behind would show
        return 0;
    }
    Model model(choices);
    RunCalls(choices, model, kCalls);
    return 0;
}
