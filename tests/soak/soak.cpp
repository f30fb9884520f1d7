// Eight threads that run operations and jobs at once, and a main thread that shows their posted
// reports. Operations that keep memory, or that are for one thread at a time, do not run.
//
//     soak [SECONDS [SEED]]
//
// Exits with 1 if a check has failed or memory has leaked.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iterator>
#include <thread>

#include <platform/control.h>
#include <win32/message_queue.h>

#include "U_Budget.h"
#include "U_Lifecycle.h"
#include "U_MemServices.h"
#include "U_Posted.h"
#include "U_Suspend.h"
#include "tests/soak/Soak.h"

namespace
{
typedef std::chrono::steady_clock Clock;
typedef std::chrono::duration<double> Seconds;

const int kExecutors = 3;
const U_u32 kMostSize = 20000; // bytes of the blocks of operations
const double kRowSeconds = 10;
const double kWarmUpSeconds = 600; // at most a third of the run
const unsigned int kTimer = 10;    // milliseconds between two looks at the posted reports
const int kPrintedViolations = 20;

// The most growth of the mean resident size from the first stretch after the warm-up to the last
// one of the run.
U_u64 MostGrowth([[maybe_unused]] double seconds)
{
#if defined(__SANITIZE_ADDRESS__)
    return 512 << 20; // the sanitizer keeps 256 MiB of freed blocks
#elif defined(__SANITIZE_THREAD__)
    return 192 << 20; // the tables of the sanitizer continue to grow
#else
    // In a short run the caches of the threads still fill.
    return (seconds < 3 * kWarmUpSeconds ? 48 : 8) << 20;
#endif
}

std::atomic<long> sViolations{0};
std::atomic<long> sRefusals{0};
std::atomic<long> sRuns{0};
std::atomic<bool> sEnds{false};
std::atomic<int> sRunning{0};
std::atomic<long> sLeakLines{0};

// The limits may refuse blocks of the heap. There is memory for all else.
Jobs OperationJobs()
{
    Jobs jobs;
    Operations operations = AllOperations();
    for (const Operation& operation : SystemOperations())
        operations.push_back(operation);
    for (const Operation& operation : operations)
    {
        const auto run = [operation](Worker& worker) {
            worker.own.size = 1 + worker.Below(kMostSize);
            const Outcome outcome = OutcomeOf(operation, worker.own);
            Check(outcome & (kRight | (operation.failures & ~kLess)), operation.name);
            if (outcome != kRight)
                Refused();
        };
        if (!operation.keeps)
            jobs.push_back({operation.name, run});
    }
    return jobs;
}

// Half of the runs are operations.
void Work(Worker& worker, const std::vector<Jobs>& kinds)
{
    while (!sEnds)
    {
        const Jobs& jobs = kinds[worker.Below(static_cast<U_u32>(kinds.size()))];
        const Job& job = jobs[worker.Below(static_cast<U_u32>(jobs.size()))];
        try
        {
            if (job.changesLanguage)
            {
                job.run(worker);
            }
            else
            {
                const ScResolving resolving(ScResolving::kWorker);
                job.run(worker);
            }
        }
        catch (const std::bad_alloc&)
        {
            Refused();
        }
        catch (...)
        {
            Check(false, job.name);
        }
        ++sRuns;
    }
    --sRunning;
}

U_u64 InUse()
{
    U_u64 used = 0;
    U_GetMemoryStat(U_MemStat_InUse, &used);
    return used;
}

U_u64 Resident()
{
    U_MemoryStats stats = {};
    U_GetSystemMemoryStats(&stats);
    return stats.mResident;
}

double Since(Clock::time_point start)
{
    return Seconds(Clock::now() - start).count();
}

void PrintRow(Clock::time_point start)
{
    std::printf("%7.1f %12ld %9ld %9ld %10ld %10llu %12llu\n", Since(start), sRuns.load(), Posted(),
                Shown(), Purges(), InUse() >> 10, Resident() >> 10);
    std::fflush(stdout);
}

class MeanSize
{
public:
    void Add(U_u64 size)
    {
        mSum += size;
        ++mCount;
    }
    U_u64 Value() const { return mSum / std::max(mCount, U_u64(1)); }

private:
    U_u64 mSum = 0;
    U_u64 mCount = 0;
};

// The resident size in two stretches as long as the warm-up: after the warm-up, and at the end.
struct ResidentSizes
{
    MeanSize early;
    MeanSize late;
};

// Waits for messages, and shows reports at each message of a timer, until all threads have ended.
ResidentSizes Pump(double seconds)
{
    const Clock::time_point start = Clock::now();
    const double warmUp = std::min(kWarmUpSeconds, seconds / 3);
    double nextRow = 0;
    ResidentSizes sizes;
    const unsigned long long timer = win32::SetTimer(nullptr, 0, kTimer, nullptr);
    Check(timer != 0, "a timer");
    std::printf("%7s %12s %9s %9s %10s %10s %12s\n", "seconds", "operations", "posted", "shown",
                "purges", "use KiB", "resident KiB");
    win32::MSG message;
    while (sRunning && win32::GetMessageW(&message, nullptr, 0, 0) > 0)
    {
        const ScResolving resolving(ScResolving::kMain);
        win32::DispatchMessageW(&message);
        U_Context::CheckAbortAndFlushCompletionRoutines();
        if (message.message != win32::kWmTimer)
            continue;
        U_DisplayPostedErrors();
        if (Since(start) >= nextRow)
        {
            PrintRow(start);
            nextRow += kRowSeconds;
        }
        const double now = Since(start);
        if (now >= warmUp && now < 2 * warmUp)
            sizes.early.Add(Resident());
        if (now >= seconds - warmUp && now < seconds)
            sizes.late.Add(Resident());
        sEnds = now >= seconds;
    }
    win32::KillTimer(nullptr, timer);
    U_DisplayPostedErrors();
    PrintRow(start);
    return sizes;
}

void RunAll(double seconds, U_u64 seed)
{
    const ScOperations registered;
    std::vector<ExecutorPtr> executors;
    for (int number = 0; number < kExecutors; ++number)
        executors.push_back(MakeExecutor());
    std::deque<Worker> workers;
    for (int number = 0; number < kThreads; ++number)
        workers.emplace_back(number, seed + static_cast<U_u64>(number),
                             executors[static_cast<std::size_t>(number % kExecutors)]);
    Jobs shared;
    for (Jobs jobs : {StartErrors(), StartContexts(), StartTexts(), StartMemory()})
        std::move(jobs.begin(), jobs.end(), std::back_inserter(shared));
    const U_u64 used = InUse();
    const std::vector<Jobs> kinds = {OperationJobs(), shared};
    std::vector<std::thread> threads;
    sRunning = kThreads;
    for (Worker& worker : workers)
        threads.emplace_back([&] { Work(worker, kinds); });
    const ResidentSizes sizes = Pump(seconds);
    for (std::thread& thread : threads)
        thread.join();

    EndMemory();
    EndErrors();
    EndContexts();
    Check(!U_Die(), "no fatal report");
    Check(Purges() > 0, "at least one purge");
    Check(InUse() == used, "the same use as before");
    const U_u64 early = sizes.early.Value();
    const U_u64 late = sizes.late.Value();
    Check(early > 0 && late <= early + MostGrowth(seconds), "a resident size that does not grow");
    std::printf("use before and after: %llu and %llu bytes; mean resident size after the warm-up "
                "and at the end: %llu and %llu KiB; seed %llu\n",
                used, InUse(), early >> 10, late >> 10, seed);
}
} // namespace

bool Check(bool holds, const char* what)
{
    if (!holds && sViolations++ < kPrintedViolations)
        std::fprintf(stderr, "VIOLATED: %s\n", what);
    return holds;
}

void Refused()
{
    ++sRefusals;
}

int main(int argc, char** argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 10;
    const U_u64 seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 20240601;
    if (!(seconds > 0))
    {
        std::fprintf(stderr, "usage: soak [SECONDS [SEED]]\n");
        return 2;
    }
    platform::SetLogSink([](int, const char*, const char* tag, const char*) {
        sLeakLines += std::strcmp(tag, "MEM_DumpLeaks") == 0;
    });
    if (U_Birth("Soak", nullptr))
        return 1;
    RunAll(seconds, seed);
    Check(CountingState::sLiving == 0, "no context left");
    Check(U_Death() == 0, "death");
    Check(sLeakLines == 0, "no leak at death");
    std::printf("refused allocations: %ld; violations: %ld\n", sRefusals.load(),
                sViolations.load());
    return sViolations ? 1 : 0;
}
