#include "U_MemServices.h"

#include <atomic>
#include <cstring>
#include <map>
#include <new>
#include <utility>

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>
#include <tolv/memory.h>
#include <win32/process.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "indep/U_Memory/Budget.h"
#include "indep/U_Memory/LibraryHeap.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"

using krobase::utility::Guid;

namespace
{
const char kOpName[] = "U_MemTrackedObject"; // of allocations without a name

typedef boost::function<size_t()> Measure;

struct Manager
{
    explicit Manager(const Measure& size) : mSize(size) {}

    const Measure mSize;
    std::atomic<bool> mIsInstalled{true}; // false: uninstalled, but still in the table
};

// The functions are shared, so that no function is copied or destroyed under the lock: its copy
// constructor or destructor may call functions of this file.
typedef std::map<Guid, boost::shared_ptr<Manager>> Managers;
typedef boost::shared_ptr<const Managers> Table;

// A table is immutable; a change replaces the table. A measurement keeps the table that it began
// with, and allocates nothing, since it may run because there is no memory. Null without managers.
// Never destroyed, since threads may measure until the process ends.
platform::Mutex sTableLock;
Table& sTable PLATFORM_GUARDED_BY(sTableLock) = *new Table;

// True while there is a table. Every measured block reads the flag, and most hosts have no table.
std::atomic<bool> sHasManagers(false);

Table TakeTable()
{
    const platform::ScLock lock(sTableLock);
    return sTable;
}

// Replaces the table `old` by `made`. Returns false if another thread has replaced `old`.
bool Replace(const Table& old, Table made)
{
    const platform::ScLock lock(sTableLock);
    if (sTable != old)
        return false;
    sTable.swap(made); // `old` keeps the old table until the lock is free
    sHasManagers.store(sTable != nullptr, std::memory_order_release);
    return true;
}

// Returns the installed managers of a table except `id`. Throws std::bad_alloc.
Managers CopyWithout(const Table& table, const Guid& id)
{
    Managers copy;
    if (!table)
        return copy;
    for (const auto& [other, manager] : *table)
    {
        if (other != id && manager->mIsInstalled)
            copy.emplace_hint(copy.end(), other, manager);
    }
    return copy;
}

Manager* Find(const Table& table, const Guid& id)
{
    if (!table)
        return nullptr;
    const auto found = table->find(id);
    return found != table->end() && found->second->mIsInstalled ? found->second.get() : nullptr;
}

bool TakeSystemFigures(U_MemoryStats* stats)
{
    win32::PROCESS_MEMORY_COUNTERS counters = {};
    if (!win32::GetProcessMemoryInfo(win32::GetCurrentProcess(), &counters, sizeof(counters)))
        return false;
    stats->mFaults = counters.PageFaultCount;
    stats->mResident = counters.WorkingSetSize;
    stats->mVirtual = counters.PagefileUsage;
    return true;
}
} // namespace

void U_InstallExternalMemoryManager(const Guid& id, const Measure& size)
{
    const auto manager = boost::make_shared<Manager>(size);
    for (;;)
    {
        const Table old = TakeTable();
        if (Find(old, id))
            return;
        Managers made = CopyWithout(old, id);
        made.emplace(id, manager);
        if (Replace(old, boost::make_shared<const Managers>(std::move(made))))
            return;
    }
}

void U_UnInstallExternalMemoryManager(const Guid& id)
{
    for (;;)
    {
        const Table old = TakeTable();
        Manager* const manager = Find(old, id);
        if (!manager)
            return;
        try
        {
            const platform::ScQuietNew quiet;
            Managers made = CopyWithout(old, id);
            const bool isLast = made.empty();
            if (Replace(old,
                        isLast ? Table() : boost::make_shared<const Managers>(std::move(made))))
                return;
        }
        catch (const std::bad_alloc&)
        {
            manager->mIsInstalled = false; // the next change of the table removes the manager
            return;
        }
    }
}

size_t U_GetSizeOfExternalMemoryManagers()
{
    size_t sum = 0;
    if (!sHasManagers.load(std::memory_order_acquire))
        return sum;
    if (const Table table = TakeTable())
    {
        for (const auto& [id, manager] : *table)
            sum += manager->mIsInstalled ? manager->mSize() : 0;
    }
    return sum;
}

int U_GetSystemMemoryStats(U_MemoryStats* stats)
{
    if (!stats)
        return BadArgument("U_GetSystemMemoryStats: no place for the figures");
    *stats = U_MemoryStats();
    const bool isKnown = TakeSystemFigures(stats);
    stats->mCalcMem = MEM_GetMemUsage();
    Up_GetMemoryStat(U_MemStat_InUse, &stats->mCalcU, true);
    TOLV_GetSlop(&stats->mSlop);
    return isKnown ? 0 : 1;
}

int U_MEM_Report(int value)
{
    int result = 0;
    LogSafely([&] { result = MEM_Report(UHeap(), value); });
    return result;
}

int U_MEM_SetBaseline()
{
    return MEM_SetBaseline(UHeap());
}

U_MemTrackedObject& U_MemTrackedObject::operator=(const U_MemTrackedObject&) = default;

void* U_MemTrackedObject::operator new(std::size_t size, U_u32 location, const char* opName)
{
    if (void* block = U_AllocatePtr(location, opName, size))
        return block;
    throw platform::BadAllocation();
}

void* U_MemTrackedObject::operator new[](std::size_t size, U_u32 location, const char* opName)
{
    return operator new(size, location, opName);
}

void* U_MemTrackedObject::operator new(std::size_t size)
{
    return operator new(size, 0, kOpName);
}

void* U_MemTrackedObject::operator new[](std::size_t size)
{
    return operator new(size, 0, kOpName);
}

void* U_MemTrackedObject::operator new(std::size_t, void* place) noexcept
{
    return place;
}

void U_MemTrackedObject::operator delete(void* object) noexcept
{
    TrackedDelete(object);
}

void U_MemTrackedObject::operator delete[](void* objects) noexcept
{
    TrackedDelete(objects);
}

void U_MemTrackedObject::operator delete(void* object, U_u32, const char*) noexcept
{
    TrackedDelete(object);
}

void U_MemTrackedObject::operator delete[](void* objects, U_u32, const char*) noexcept
{
    TrackedDelete(objects);
}

void U_MemTrackedObject::operator delete(void*, void*) noexcept {}

void* U_MemTrackedObject::TrackedNew(std::size_t size, bool clear)
{
    void* const block = operator new(size);
    if (clear)
        std::memset(block, 0, size);
    return block;
}

void U_MemTrackedObject::TrackedDelete(void* block) noexcept
{
    if (block)
        U_FreePtr(block);
}
