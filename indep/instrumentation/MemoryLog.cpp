#include "indep/instrumentation/MemoryLog.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <new>
#include <string>
#include <thread>

#include <boost/function.hpp>

#include <krobase/debug.h>
#include <krobase/executor.h>
#include <krobase/text.h>
#include <krobase/threads.h>
#include <platform/base/integer_text.h>
#include <platform/base/quiet_new.h>

#include "U_Budget.h"
#include "U_Encoding.h"
#include "U_MemServices.h"
#include "indep/frame/Guard.h"
#include "indep/instrumentation/ScLogger.h"

namespace
{
using namespace krobase::threads;

const char kHeader[] =
    "\tvirtual\tdelta_virtual\tcalc_mem\tdiff_mem\tcalc_u\tdiff_u\tslop\tdeltaslop\tcalc\tdiff_calc"
    "\tresident\tdiff_res\tpageins\tfaults\tdiff_faults\tlimit_prepurge\tlimit_max\tglob_free"
    "\tglob_active\tglob_inactive\tglob_wired\tglob_faults\tglob_pageins\tglob_pageouts";

const std::chrono::milliseconds kWaitForMemory(100);

// The loggers of all starts; the last one is the log thread's while that thread runs. No
// logger is ever destroyed, which would write an end line: each line has been flushed, and the
// end of the process closes the files.
std::deque<U_ScGlobalLogger>& sLoggers = *new std::deque<U_ScGlobalLogger>;
U_MemoryStats sPrevious = {};
int sInterval = 1000; // milliseconds

std::atomic<bool> sIsEnding(false); // the thread: it waits no longer for memory

// Owns the log thread; null without one.
boost::shared_ptr<AsyncThreadedExecutor>* sExecutor = nullptr;
unsigned int sProcess = 0; // that started the log thread

// Ends the log thread, and with the thread the rows. A child of fork has the executor but not
// the thread: the child leaves the executor alone, whose end would wait for the thread.
void EndThread()
{
    sIsEnding = true;
    if (sProcess == GetCurrentProcessID())
    {
        delete sExecutor;
        sExecutor = nullptr;
    }
    sIsEnding = false;
}

struct ProcessEnd
{
    ~ProcessEnd() { EndThread(); }
} sProcessEnd;

// An interval of 0 would keep the thread from ever ending. A text that is no number
// tells no interval.
int ReadInterval()
{
    const std::string text = krobase::debug::DebugDatabase::Instance().GetEntry(
        "MemoryYoYoLogInterval", std::to_string(sInterval).c_str());
    int interval = sInterval;
    platform::ReadInteger(text.c_str(), &interval);
    return std::max(interval, 1);
}

U_UTF8String PathOfLog()
{
    const std::string path = "/bc_memory." + std::to_string(GetCurrentProcessID()) + ".log";
    return krobase::utility::UTF16to8(U_AsciiToUTF16String(path.c_str()));
}

// Opens the file and writes the start line and the header.
void StartFile()
{
    sLoggers.emplace_back(reinterpret_cast<const char*>(PathOfLog().c_str()));
    sLoggers.back().Printf("%s", kHeader);
}

U_i64 Difference(U_u64 now, U_u64 before)
{
    return static_cast<U_i64>(now - before);
}

void WriteRow(const U_MemoryStats& now, U_u64 prepurge, U_u64 maximum)
{
    const U_MemoryStats& before = sPrevious;
    sLoggers.back().Printf(
        "\t%llu\t%lld\t%llu\t%lld\t%llu\t%lld\t%lld\t%lld\t%llu\t%lld\t%llu\t%lld"
        "\t%llu\t%llu\t%lld\t%llu\t%llu\t%llu\t%llu\t%llu\t%llu\t%llu\t%llu\t%llu",
        now.mVirtual, Difference(now.mVirtual, before.mVirtual), now.mCalcMem,
        Difference(now.mCalcMem, now.mVirtual), now.mCalcU, Difference(now.mCalcU, now.mVirtual),
        static_cast<U_i64>(now.mSlop), Difference(now.mSlop, before.mSlop), now.mCalc,
        static_cast<U_i64>(now.mCalc), // not a difference, whatever the column says
        now.mResident, Difference(now.mResident, before.mResident), now.mPageins, now.mFaults,
        Difference(now.mFaults, before.mFaults), prepurge, maximum, now.mGlobFree, now.mGlobActive,
        now.mGlobInactive, now.mGlobWired, now.mGlobFaults, now.mGlobPageins, now.mGlobPageouts);
}

void Up_LogMemoryRow(AsyncThreadedExecutor* executor);

// The row is given its executor: a start that replaces sExecutor waits for the row.
void Up_ScheduleMemoryRow(AsyncThreadedExecutor* executor)
{
    executor->Post([executor] { Up_LogMemoryRow(executor); }, sInterval);
}

// On the log thread: a row that has no memory to come after this one comes later.
void ScheduleInTheEnd(AsyncThreadedExecutor* executor)
{
    const platform::ScQuietNew quiet; // nothing is lost
    while (!sIsEnding)
    {
        try
        {
            Up_ScheduleMemoryRow(executor);
            return;
        }
        catch (const std::bad_alloc&)
        {
            std::this_thread::sleep_for(kWaitForMemory);
        }
    }
}

void Up_LogMemoryRow(AsyncThreadedExecutor* executor)
{
    // A host's function that throws costs one row. A report could meet the library's death,
    // which doesn't know of this thread.
    LogSafely([] {
        U_u64 prepurge = 0;
        U_u64 maximum = 0;
        U_GetMemUsageLimits(&prepurge, &maximum);
        U_MemoryStats now = {};
        U_GetSystemMemoryStats(&now); // what couldn't be had shows as 0
        now.mCalc = now.mVirtual;
        WriteRow(now, prepurge, maximum);
        sPrevious = now;
    });
    ScheduleInTheEnd(executor);
}
} // namespace

void Up_StartMemoryLog()
{
    if (krobase::debug::DebugDatabase::Instance().GetEntry("MemoryYoYoLog", "false") != "true")
        return;
    EndThread(); // the log of an earlier birth
    sInterval = ReadInterval();
    StartFile();
    const boost::function<void()> nothing;
    sExecutor = new boost::shared_ptr<AsyncThreadedExecutor>(CreateAsyncThreadedExecutor(
        "Memory YoYo Log Thread", 1, kThreadPriorityNormal, nothing, nothing));
    sProcess = GetCurrentProcessID();
    Up_ScheduleMemoryRow(sExecutor->get());
}
