#include "U_MemServices.h"

#include <atomic>
#include <map>

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <tolv/memory.h>
#include <win32/process.h>

#include "U_Budget.h"
#include "indep/U_Memory/Budget.h"
#include "indep/U_Memory/Memory.h"
#include "indep/errors/Refuse.h"

using krobase::utility::Guid;

namespace
{
typedef std::map<Guid, boost::function<size_t()>> Managers;
typedef boost::shared_ptr<const Managers> Snapshot;

// Never destroyed: threads may measure until the process ends. The table isn't
// changed but replaced, so that a measurement takes it as it is and allocates
// nothing.
boost::mutex& sManagersLock = *new boost::mutex; // guards the table
Snapshot& sManagers = *new Snapshot(boost::make_shared<Managers>());

// Whether there are any. Mostly there are none, and every larger block asks.
std::atomic<bool> sHasManagers(false);

Snapshot CurrentManagers()
{
    boost::lock_guard<boost::mutex> lock(sManagersLock);
    return sManagers;
}

// Replaces the table by one that change has worked on. The old one goes without
// the lock, since what its functions hold may call in here.
template <class Change> void ChangeManagers(Change change)
{
    Snapshot old;
    boost::lock_guard<boost::mutex> lock(sManagersLock);
    const auto changed = boost::make_shared<Managers>(*sManagers);
    change(*changed);
    old = sManagers;
    sManagers = changed;
    sHasManagers.store(!changed->empty(), std::memory_order_release);
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

void U_InstallExternalMemoryManager(const Guid& id, const boost::function<size_t()>& size)
{
    ChangeManagers([&](Managers& managers) { managers.emplace(id, size); });
}

void U_UnInstallExternalMemoryManager(const Guid& id)
{
    ChangeManagers([&](Managers& managers) { managers.erase(id); });
}

size_t U_GetSizeOfExternalMemoryManagers()
{
    if (!sHasManagers.load(std::memory_order_acquire))
        return 0;
    const Snapshot managers = CurrentManagers();
    size_t sum = 0;
    for (const auto& manager : *managers)
        sum += manager.second();
    return sum;
}

int U_GetSystemMemoryStats(U_MemoryStats* stats)
{
    if (!stats)
        return RefuseArgument("U_GetSystemMemoryStats: no place for the figures");
    *stats = U_MemoryStats();
    const bool isKnown = TakeSystemFigures(stats);
    stats->mCalcMem = MEM_GetMemUsage();
    Up_GetMemoryStat(U_MemStat_InUse, &stats->mCalcU, true);
    TOLV_GetSlop(&stats->mSlop);
    return isKnown ? 0 : 1;
}

int U_MEM_Report(int value)
{
    return MEM_Report(UHeap(), value);
}

int U_MEM_SetBaseline()
{
    return MEM_SetBaseline(UHeap());
}
