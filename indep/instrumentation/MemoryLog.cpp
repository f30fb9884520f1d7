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
#include <krobase/threads.h>
#include <platform/base/integer_text.h>
#include <platform/base/quiet_new.h>

#include "U_Budget.h"
#include "U_MemServices.h"
#include "indep/U_Memory/Budget.h"
#include "indep/frame/Guard.h"
#include "indep/instrumentation/ScLogger.h"

namespace
{
using namespace krobase::threads;

const char kHeader[] =
    "\tvirtual\tdelta_virtual\tcalc_mem\tdiff_mem\tcalc_u\tdiff_u\tslop\tdeltaslop\tcalc\tdiff_calc"
    "\tresident\tdiff_res\tpageins\tfaults\tdiff_faults\tlimit_prepurge\tlimit_max\tglob_free"
    "\tglob_active\tglob_inactive\tglob_wired\tglob_faults\tglob_pageins\tglob_pageouts";

const char kPurgesHeader[] = "\tpurges"; // of the column that a setting adds

const std::chrono::milliseconds kWaitForMemory(100);

// The loggers of all starts. While the log thread runs, the last logger belongs to that thread.
// Loggers are never destroyed, since a destructor would write an end line. Each line is flushed,
// and the end of the process closes the files.
std::deque<U_ScGlobalLogger>& sLoggers = *new std::deque<U_ScGlobalLogger>;
U_MemoryStats sPrevious = {};
int sInterval = 1000;       // milliseconds
bool sCountsPurges = false; // rows have the column

// Written by birth: the path of the latest start, and the errno with which the file was not opened.
std::string& sPath = *new std::string;
int sOpenError = 0;

std::atomic<bool> sIsEnding(false); // true: the thread no longer waits for memory

// Owns the log thread, null without a thread.
boost::shared_ptr<AsyncThreadedExecutor>* sExecutor = nullptr;
unsigned int sProcess = 0; // the process that started the log thread

// Ends the log thread. A child of fork has the executor but not the thread. The child does not
// delete the executor, since the destructor would wait for the thread.
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

// The interval is at least 1, since with 0 the thread would never end. A text that is no number
// does not change the interval.
int ReadInterval()
{
    const std::string text = krobase::debug::DebugDatabase::Instance().GetEntry(
        "MemoryYoYoLogInterval", std::to_string(sInterval).c_str());
    int interval = sInterval;
    platform::ReadInteger(text.c_str(), &interval);
    return std::max(interval, 1);
}

bool ReadCountsPurges()
{
    return krobase::debug::DebugDatabase::Instance().GetEntry("MemoryYoYoLogPurges", "false") ==
           "true";
}

// By default the file is in the root of the current drive.
std::string PathOfLog()
{
    return krobase::debug::DebugDatabase::Instance().GetEntry("MemoryYoYoLogFolder", "") +
           "/bc_memory." + std::to_string(GetCurrentProcessID()) + ".log";
}

// Opens the file and writes the start line and the header.
void StartFile()
{
    sPath = PathOfLog();
    sOpenError = 0;
    try
    {
        sLoggers.emplace_back(sPath.c_str());
    }
    catch (int error)
    {
        sOpenError = error;
        throw;
    }
    sLoggers.back().Printf("%s%s", kHeader, sCountsPurges ? kPurgesHeader : "");
}

U_i64 Difference(U_u64 now, U_u64 before)
{
    return static_cast<U_i64>(now - before);
}

void WriteRow(const U_MemoryStats& now, U_u64 prepurge, U_u64 maximum)
{
    const U_MemoryStats& before = sPrevious;
    const std::string purges =
        sCountsPurges ? "\t" + std::to_string(Up_TakePurgeRequests()) : std::string();
    sLoggers.back().Printf(
        "\t%llu\t%lld\t%llu\t%lld\t%llu\t%lld\t%lld\t%lld\t%llu\t%lld\t%llu\t%lld"
        "\t%llu\t%llu\t%lld\t%llu\t%llu\t%llu\t%llu\t%llu\t%llu\t%llu\t%llu\t%llu%s",
        now.mVirtual, Difference(now.mVirtual, before.mVirtual), now.mCalcMem,
        Difference(now.mCalcMem, now.mVirtual), now.mCalcU, Difference(now.mCalcU, now.mVirtual),
        static_cast<U_i64>(now.mSlop), Difference(now.mSlop, before.mSlop), now.mCalc,
        static_cast<U_i64>(now.mCalc), // not a difference, despite the column's name
        now.mResident, Difference(now.mResident, before.mResident), now.mPageins, now.mFaults,
        Difference(now.mFaults, before.mFaults), prepurge, maximum, now.mGlobFree, now.mGlobActive,
        now.mGlobInactive, now.mGlobWired, now.mGlobFaults, now.mGlobPageins, now.mGlobPageouts,
        purges.c_str());
}

void Up_LogMemoryRow(AsyncThreadedExecutor* executor);

// The executor is an argument of the row, since a start that replaces sExecutor waits for the row.
void Up_ScheduleMemoryRow(AsyncThreadedExecutor* executor)
{
    executor->Post([executor] { Up_LogMemoryRow(executor); }, sInterval);
}

// Schedules the next row. Without memory, waits and tries again. Runs on the log thread.
void ScheduleWhenMemoryAllows(AsyncThreadedExecutor* executor)
{
    const platform::ScQuietNew quiet; // a failure here only delays a row
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
    // If a function of the host throws, one row is missing. The exception is not reported, since
    // a report could run during the library's death, which does not wait for this thread.
    LogSafely([] {
        U_u64 prepurge = 0;
        U_u64 maximum = 0;
        U_GetMemUsageLimits(&prepurge, &maximum);
        U_MemoryStats now = {};
        U_GetSystemMemoryStats(&now); // a figure that the system does not have is 0
        now.mCalc = now.mVirtual;
        WriteRow(now, prepurge, maximum);
        sPrevious = now;
    });
    ScheduleWhenMemoryAllows(executor);
}
} // namespace

void Up_StartMemoryLog()
{
    if (krobase::debug::DebugDatabase::Instance().GetEntry("MemoryYoYoLog", "false") != "true")
        return;
    EndThread(); // of an earlier birth
    sInterval = ReadInterval();
    sCountsPurges = ReadCountsPurges();
    Up_TakePurgeRequests(); // of an earlier log or life
    StartFile();
    const boost::function<void()> nothing;
    sExecutor = new boost::shared_ptr<AsyncThreadedExecutor>(CreateAsyncThreadedExecutor(
        "Memory YoYo Log Thread", 1, kThreadPriorityNormal, nothing, nothing));
    sProcess = GetCurrentProcessID();
    Up_ScheduleMemoryRow(sExecutor->get());
}

std::string U_GetMemoryLogPath(int* openError)
{
    if (openError)
        *openError = sOpenError;
    return sPath;
}
