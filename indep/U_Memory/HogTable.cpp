#include "indep/U_Memory/HogTable.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>

#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>
#include <wril/wril.h>

#include "U_Alloc.h"
#include "U_Hog.h"
#include "U_Report.h"
#include "U_String.h"
#include "indep/U_Memory/AllocationLoop.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"
#include "indep/frame/ReentrancyGuard.h"
#include "text/OwnTexts.h"

namespace
{
typedef platform::ScLock<platform::RecursiveMutex> HogLock;

const U_u32 kTableMagic = 72017;
const U_u32 kEntriesAtOnce = 10;
const U_Status kBadHog = 2;
const int kLifecycleLevel = 10;

const U_u32 kBirthLocation = kModule | 0x1F;
const U_u32 kRegisterLocation = kModule | 0x20;
const U_u32 kLeakLocation = kModule | 0x26;
const U_u32 kStatsLocation = kModule | 0x27;

const char* const kNotReported[] = {"OMF", "PNGIO", "TIFFIO", "WAV"};

struct HogEntry
{
    void** mName; // owned; a handle that contains the name
};

struct HogTable
{
    U_u32 mMagic;    // for readers of a memory dump
    U_u32 mCapacity; // entries that fit into mEntries
    void** mSelf;    // the handle that holds the table
    void** mEntries; // a handle of the entries; owned
};

// Guards the entries and the table's growth and end. Recursive, since growth may call the host's
// purge callback and report, and both may call hog functions. Never destroyed.
platform::RecursiveMutex sLock;

// Null outside the library's life. Only birth and death write the pointer, while no other thread is
// in the library.
HogTable* sHogTable = nullptr;

// The number of registered hogs, 0 without a table. Grows under the lock until death, and is read
// without the lock.
std::atomic<U_u32> sCount(0);

// The counts of the registered hogs. Never destroyed: threads may free hog handles until
// the process ends.
HogCounters& sCounters = *new HogCounters;

std::atomic<bool> sReportsLeaks(false);

// REQUIRES: the lock is held while the result is used, since the entries move when the table grows.
HogEntry* Entries(const HogTable& table)
{
    return static_cast<HogEntry*>(*table.mEntries);
}

U_u64 SizeOfEntries(U_u32 count)
{
    return count * U_u64(sizeof(HogEntry));
}

struct FreeHandle
{
    void operator()(void** handle) const { U_FreeHandle(handle); }
};
typedef std::unique_ptr<void*, FreeHandle> OwnedHandle;

void** CopyOfName(const char* name)
{
    const std::size_t size = std::strlen(name) + 1;
    void** const copy = U_AllocateHandle(kRegisterLocation, Up_StringOrEnglish(kTextHogName), size);
    if (copy)
        std::memcpy(*copy, name, size);
    return copy;
}

// REQUIRES: the lock is held.
U_Status MakeRoomForCount()
{
    if (sCounters.MakeRoom(sCount))
        return 0;
    Up_ReportAllocFailure(kRegisterLocation, HogCounters::BytesOfPiece(sCount),
                          Up_StringOrEnglish(kTextHogTable), true);
    return U_Err_OutOfMemory;
}

// REQUIRES: the lock is held. While the table grows, a purge callback cannot register a hog, since
// there is no room yet.
U_Status MakeRoom(HogTable& table)
{
    if (sCount < table.mCapacity)
        return 0;
    const ReentrancyGuard<struct TableGrowth> growth;
    if (!growth.IsFirst())
        return U_Err_OutOfMemory;
    const U_u32 capacity = table.mCapacity + kEntriesAtOnce;
    const U_Status failure = U_ResizeHandle(kRegisterLocation, SizeOfEntries(capacity),
                                            Up_StringOrEnglish(kTextHogTable), &table.mEntries);
    if (!failure)
        table.mCapacity = capacity;
    return failure;
}

// On success the entry owns the name. Takes the lock.
U_Status AddEntry(HogTable& table, void** name, U_u32* index)
{
    HogLock lock(sLock);
    if (U_Status failure = MakeRoom(table))
        return failure;
    if (U_Status failure = MakeRoomForCount())
        return failure;
    *index = sCount;
    Entries(table)[*index] = {name};
    sCount = *index + 1; // publishes the entry to other threads
    return 0;
}

// The text of the leak report. A text that is too long is cut at a character boundary.
class LeakText
{
public:
    void Add(const char* name, U_u32 liveBytes)
    {
        char bytes[64];
        Up_FormatText(bytes, sizeof(bytes), ": %1d bytes leaked\r", static_cast<U_i32>(liveBytes));
        Append(name);
        Append(bytes);
        mLeaked = true;
    }

    bool HasLeaks() const { return mLeaked; }
    const char* Get() const { return mText; }

private:
    void Append(const char* text)
    {
        const std::size_t length = std::strlen(mText);
        U_CopyString(text, sizeof(mText) - length, mText + length);
    }

    char mText[1024] = "Tracked Memory leaks detected\r";
    bool mLeaked = false;
};

bool IsReported(const char* name)
{
    return std::none_of(std::begin(kNotReported), std::end(kNotReported),
                        [name](const char* part) { return std::strstr(name, part) != nullptr; });
}

PackedCount LiveOf(U_u32 index)
{
    return sCounters[index].mLive.load(std::memory_order_relaxed);
}

// REQUIRES: the lock is held.
void AddLeaks(LeakText* leaks)
{
    for (U_u32 index = 0; index < sCount; ++index)
    {
        const char* const name = static_cast<const char*>(*Entries(*sHogTable)[index].mName);
        const PackedCount live = LiveOf(index);
        if (HandlesOf(live) && IsReported(name))
            leaks->Add(name, BytesOf(live));
    }
}

void FreeTable()
{
    HogTable& table = *sHogTable;
    HogEntry* const entries = Entries(table);
    for (U_u32 index = 0; index < sCount; ++index)
        U_FreeHandle(entries[index].mName);
    U_FreeHandle(table.mEntries);
    U_FreeHandle(table.mSelf);
    sHogTable = nullptr;
    sCount = 0;
}
} // namespace

U_Status Up_HogBirth()
{
    WRIL_Log(kLifecycleLevel, "U", "Birth", "U Hog Birth");
    const char* const name = Up_StringOrEnglish(kTextHogTable);
    void** const table = U_AllocateHandleClear(kBirthLocation, name, sizeof(HogTable));
    if (!table)
        return U_Err_OutOfMemory;
    void** const entries =
        U_AllocateHandleClear(kBirthLocation, name, SizeOfEntries(kEntriesAtOnce));
    if (!entries)
    {
        U_FreeHandle(table);
        return U_Err_OutOfMemory;
    }
    // An earlier birth that failed after this step left a table and its hogs.
    sCounters.Clear();
    sCount = 0;
    sHogTable = new (*table) HogTable{kTableMagic, kEntriesAtOnce, table, entries};
    return 0;
}

void Up_TerminateHogs()
{
    HogLock lock(sLock);
    if (!sHogTable)
        return;
    LeakText leaks;
    if (sReportsLeaks)
        AddLeaks(&leaks);
    sCounters.Clear();
    FreeTable();
    if (!leaks.HasLeaks())
        return;
    Up_ReportErrString(kLeakLocation, U_Sev_LEAK, leaks.Get());
    WRIL_Log(0, "U", "Up_TerminateHogs", leaks.Get());
}

bool IsHog(U_u32 index)
{
    return index < sCount.load(std::memory_order_acquire);
}

void CountHog(U_u32 index, U_i64 handles, U_i64 bytes)
{
    sCounters[index].mLive.fetch_add(Pack(handles, bytes), std::memory_order_relaxed);
}

U_Status RefuseHog(U_u32 location)
{
    Up_ReportErrString(location, U_Sev_PROBLEM, Up_StringOrEnglish(kTextBadHog));
    return kBadHog;
}

U_Status U_RegisterHog(const char* name, U_u32* id)
{
    if (!name || !id)
        return BadArgument("U_RegisterHog: no name, or no place for the identifier");
    if (!sHogTable)
        return BadArgument("U_RegisterHog: the library isn't alive");
    OwnedHandle copy(CopyOfName(name)); // freed without the lock, since U_FreeHandle may report
    if (!copy)
        return U_Err_OutOfMemory;
    U_u32 index = 0;
    if (U_Status failure = AddEntry(*sHogTable, copy.get(), &index))
        return failure;
    static_cast<void>(copy.release()); // the entry owns the name now
    *id = HogIndexOrId(index);
    return 0;
}

U_Status U_GetHogStats(U_u32 id, U_u32* liveHandles, U_u32* liveBytes)
{
    if (!liveHandles || !liveBytes)
        return BadArgument("U_GetHogStats: no place for the answers");
    const U_u32 index = HogIndexOrId(id);
    if (!IsHog(index))
        return RefuseHog(kStatsLocation);
    const PackedCount live = LiveOf(index);
    *liveHandles = HandlesOf(live);
    *liveBytes = BytesOf(live);
    return 0;
}

U_Status U_SetHogReportingOn(bool on)
{
    sReportsLeaks = on;
    return 0;
}
