#include <cstring>
#include <mutex>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_MemServices.h"
#include "tests/soak/Soak.h"

namespace
{
const U_u64 kPrepurge = 16 << 20;
const U_u64 kMaximum = 64 << 20;
const U_u64 kCached = 64 << 10;  // bytes of a block that is kept until a purge
const U_u64 kAccounted = 100000; // bytes that Accounting charges at the most, twice

// Bytes by which a figure may pass the maximum: charges without a check, blocks that are
// not measured, the rounding of recycled blocks, and 32 KiB that each thread keeps back.
const U_u64 kLargeRecycled = 12 << 20;
const U_u64 kUnmeasured =
    (kThreads + 2) * (2 * kAccounted + 256 * 2048 + (32 << 10) + kLargeRecycled * 2 / 5);

U_u64 sUseAtStart = 0;

std::mutex sCacheLock; // guards sCache
std::vector<void**> sCache;
std::atomic<long> sPurges{0};

void** TakeCached()
{
    const std::lock_guard<std::mutex> lock(sCacheLock);
    if (sCache.empty())
        return nullptr;
    void** const handle = sCache.back();
    sCache.pop_back();
    return handle;
}

U_u64 Stat(U_u32 which)
{
    U_u64 value = 0;
    U_GetMemoryStat(which, &value);
    return value;
}

int Purge(void*, U_u64, U_u64 amountToPurge, bool*)
{
    ++sPurges;
    Check(amountToPurge <= 2 * kMaximum + kUnmeasured, "an amount to purge");
    for (U_u64 freed = 0; freed < amountToPurge; freed += kCached)
    {
        void** const handle = TakeCached();
        if (!handle)
            break;
        U_FreeHandle(handle);
    }
    return 0;
}

void Recycled(Worker& worker)
{
    const bool isLarge = worker.Below(50) == 0;
    const U_u64 size = isLarge ? kLargeRecycled : 1 + worker.Below(8000);
    void* const pointer = U_AllocateRecycledPtr(0, nullptr, size);
    if (!pointer)
        return Refused();
    std::memset(pointer, worker.number, isLarge ? 1 : size);
    if (worker.Below(100) == 0)
        U_PurgeRecycledMemory(100000);
    Check(IsFilled(pointer, worker.number, isLarge ? 1 : size), "a recycled pointer");
    U_FreeRecycledPtr(pointer);
}

void Caching(Worker& worker)
{
    void** const handle = U_AllocateHandle(0, nullptr, kCached);
    if (!handle)
        return Refused();
    std::memset(*handle, worker.number, kCached);
    const std::lock_guard<std::mutex> lock(sCacheLock);
    sCache.push_back(handle);
}

void Accounting(Worker& worker)
{
    krobase::utility::Guid id;
    id.mBytes[1] = worker.own.number;
    const U_u32 size = worker.Below(kAccounted);
    U_InstallExternalMemoryManager(id, [size] { return std::size_t(size); });
    Check(U_GetSizeOfExternalMemoryManagers() >= size, "an external manager");
    U_AccountAllocation(static_cast<U_i32>(size));
    bool overLimit = false;
    U_CheckRAMPurgeLimit(&overLimit, size, nullptr);
    const U_u64 use = Stat(U_MemStat_InUse) - U_GetRecycledMemorySize();
    Check(use <= sUseAtStart + kMaximum + kUnmeasured, "use within the maximum");
    Check(Stat(U_MemStat_InUse) >= sUseAtStart - kUnmeasured, "use that does not fall below");
    Check(Stat(U_MemStat_InUseWithoutFrames) <= sUseAtStart + 2 * kMaximum + kUnmeasured,
          "use without frames");
    U_AccountAllocation(-static_cast<U_i32>(size));
    U_UnInstallExternalMemoryManager(id);
}
} // namespace

Jobs StartMemory()
{
    sUseAtStart = Stat(U_MemStat_InUse);
    U_SetMemUsageLimits(sUseAtStart + kPrepurge, sUseAtStart + kMaximum);
    U_SetPurgeRequestCallback(&Purge, nullptr);
    return {{"recycled", &Recycled}, {"caching", &Caching}, {"accounting", &Accounting}};
}

void EndMemory()
{
    U_SetPurgeRequestCallback(nullptr, nullptr);
    while (void** const handle = TakeCached())
        U_FreeHandle(handle);
    U_PurgeRecycledMemory(~U_u64(0));
}

long Purges()
{
    return sPurges;
}
