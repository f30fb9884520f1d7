#include "U_MemServices.h"

#include <atomic>
#include <map>

#include <boost/container/static_vector.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <tolv/memory.h>
#include <win32/process.h>

#include "U_Budget.h"
#include "indep/U_Memory/Budget.h"
#include "indep/U_Memory/Memory.h"
#include "indep/frame/LogSafely.h"
#include "indep/frame/Refuse.h"

using krobase::utility::Guid;

namespace
{
typedef boost::function<size_t()> Measure;

// The functions are shared, so that none is copied or destroyed under the lock:
// what they hold may call in here.
typedef std::map<Guid, boost::shared_ptr<const Measure>> Managers;

// Never destroyed: threads may measure until the process ends.
boost::mutex& sManagersLock = *new boost::mutex; // guards the table
Managers& sManagers = *new Managers;

// Whether there are any. Mostly there are none, and every larger block asks.
std::atomic<bool> sHasManagers(false);

// A measurement may run because memory is short, so it allocates nothing: it takes
// the managers a few at a time, mostly all at once.
const std::size_t kAtOnce = 16;
typedef boost::container::static_vector<Managers::value_type, kAtOnce> Snapshot;

// Takes the next ones behind the id, or the first ones, in the order of their ids.
void TakeManagers(const Guid* behind, Snapshot* managers)
{
    managers->clear();
    boost::lock_guard<boost::mutex> lock(sManagersLock);
    auto next = behind ? sManagers.upper_bound(*behind) : sManagers.begin();
    for (; next != sManagers.end() && managers->size() < kAtOnce; ++next)
        managers->push_back(*next);
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
    Managers installed;
    installed.emplace(id, boost::make_shared<const Measure>(size));
    boost::lock_guard<boost::mutex> lock(sManagersLock);
    sManagers.merge(installed); // leaves one that is there already
    sHasManagers.store(true, std::memory_order_release);
}

void U_UnInstallExternalMemoryManager(const Guid& id)
{
    Managers::node_type uninstalled; // goes without the lock
    boost::lock_guard<boost::mutex> lock(sManagersLock);
    uninstalled = sManagers.extract(id);
    sHasManagers.store(!sManagers.empty(), std::memory_order_release);
}

size_t U_GetSizeOfExternalMemoryManagers()
{
    if (!sHasManagers.load(std::memory_order_acquire))
        return 0;
    size_t sum = 0;
    Snapshot managers;
    TakeManagers(nullptr, &managers);
    for (;;)
    {
        for (const auto& manager : managers)
            sum += (*manager.second)();
        if (managers.size() < kAtOnce)
            return sum;
        const Guid last = managers.back().first;
        TakeManagers(&last, &managers);
    }
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
    int result = 0;
    LogSafely([&] { result = MEM_Report(UHeap(), value); });
    return result;
}

int U_MEM_SetBaseline()
{
    return MEM_SetBaseline(UHeap());
}
