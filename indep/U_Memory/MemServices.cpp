#include "U_MemServices.h"

#include <atomic>
#include <new>
#include <utility>

#include <boost/container/flat_map.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>
#include <tolv/memory.h>
#include <win32/process.h>

#include "U_Budget.h"
#include "indep/U_Memory/Budget.h"
#include "indep/U_Memory/Memory.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"

using krobase::utility::Guid;

namespace
{
typedef boost::function<size_t()> Measure;

struct Manager
{
    explicit Manager(const Measure& size) : mSize(size) {}

    const Measure mSize;
    std::atomic<bool> mIsInstalled{true}; // false: uninstalled, and still in the table
};

// The functions are shared, so that none is copied or destroyed under the lock: a function
// may call in here when it is copied or destroyed.
typedef boost::container::flat_map<Guid, boost::shared_ptr<Manager>> Managers;
typedef boost::shared_ptr<const Managers> Table;

// A table is never changed: a change puts a new one in its place. A measurement keeps the
// table that it began with, so it allocates nothing: it may run because memory is out.
// Null without managers. Never destroyed: threads may measure until the process ends.
platform::Mutex sTableLock;
Table& sTable PLATFORM_GUARDED_BY(sTableLock) = *new Table;

// True while there is a table. Most hosts have none, and every measured block reads the flag.
std::atomic<bool> sHasManagers(false);

Table TakeTable()
{
    const platform::ScLock lock(sTableLock);
    return sTable;
}

// Puts a table in the place of the one that it was made from; false if that has gone.
bool Replace(const Table& old, Table made)
{
    const platform::ScLock lock(sTableLock);
    if (sTable != old)
        return false;
    sTable.swap(made); // the caller holds the old one, which ends without the lock
    sHasManagers.store(sTable != nullptr, std::memory_order_release);
    return true;
}

// The installed managers of a table, but for one. Throws std::bad_alloc.
Managers CopyWithout(const Table& table, const Guid& id)
{
    Managers copy;
    if (!table)
        return copy;
    copy.reserve(table->size() + 1);
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
            manager->mIsInstalled = false; // the next change of the table drops it
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
