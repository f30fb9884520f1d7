// Eight threads that run all jobs at once, and a main thread that shows their posted reports.
//
//     soak [SECONDS [SEED]]
//
// Exits with 1 if a check has failed or memory has leaked.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <platform/control.h>

#include "U_Budget.h"
#include "U_Context.h"
#include "U_Hog.h"
#include "U_Lifecycle.h"
#include "U_MemServices.h"
#include "U_Posted.h"
#include "tests/soak/Soak.h"

Job gJobs[] = {
    {"blocks", &Blocks, {}},
    {"recycled", &Recycled, {}},
    {"hogs", &Hogs, {}},
    {"caching", &Caching, {}},
    {"accounting", &Accounting, {}},
    {"zstrings", &ZStrings, {}},
    {"lstrs", &LStrs, {}},
    {"formats", &Formats, {}},
    {"trees", &Trees, {}},
    {"escapes", &Escapes, {}},
    {"telemetry", &Telemetry, {}},
    {"posts", &Posts, {}},
    {"grouped", &Grouped, {}},
    {"quiet", &Quiet, {}},
    {"deferred", &Deferred, {}},
    {"callbacks", &Callbacks, {}},
    {"translators", &Translators, {}},
    {"suspensions", &Suspensions, {}},
    {"main loop calls", &MainLoopCalls, {}},
};
const int gJobCount = sizeof(gJobs) / sizeof(gJobs[0]);

namespace
{
typedef std::chrono::steady_clock Clock;
typedef std::chrono::duration<double> Seconds;

const double kRowSeconds = 10;
const double kWarmUpSeconds = 30; // at most a third of the run
const int kPrintedViolations = 20;

// The most growth of the resident size after the warm-up. The tables of the thread sanitizer
// continue to grow, and the address sanitizer keeps 256 MiB of freed blocks.
#if defined(__SANITIZE_ADDRESS__)
const U_u64 kMostGrowth = 512 << 20;
#elif defined(__SANITIZE_THREAD__)
const U_u64 kMostGrowth = U_u64(192) << 20;
#else
const U_u64 kMostGrowth = U_u64(48) << 20; // large recycled blocks are made and freed
#endif

std::atomic<long> sViolations{0};
std::atomic<long> sRefusals{0};
std::atomic<bool> sEnds{false};
std::atomic<int> sRunning{0};
std::atomic<long> sLeakLines{0};

void Work(Worker& worker)
{
    while (!sEnds)
    {
        Job& job = gJobs[worker.Below(static_cast<U_u32>(gJobCount))];
        try
        {
            job.run(worker);
        }
        catch (const std::bad_alloc&)
        {
            Refused();
        }
        catch (...)
        {
            Check(false, job.name);
        }
        ++job.runs;
    }
    --sRunning;
}

long Operations()
{
    long sum = 0;
    for (const Job& job : gJobs)
        sum += job.runs;
    return sum;
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
    std::printf("%7.1f %12ld %9ld %9ld %10ld %10llu %12llu\n", Since(start), Operations(), Posted(),
                Shown(), Purges(), InUse() >> 10, Resident() >> 10);
    std::fflush(stdout);
}

// Shows reports and pumps messages until all threads have ended. Returns the resident size at the
// end of the warm-up.
U_u64 Pump(double seconds)
{
    const Clock::time_point start = Clock::now();
    const double warmUp = std::min(kWarmUpSeconds, seconds / 3);
    double nextRow = 0;
    U_u64 warm = 0;
    std::printf("%7s %12s %9s %9s %10s %10s %12s\n", "seconds", "operations", "posted", "shown",
                "purges", "use KiB", "resident KiB");
    while (sRunning)
    {
        U_DisplayPostedErrors();
        U_Context::CheckAbortAndFlushCompletionRoutines();
        if (Since(start) >= nextRow)
        {
            PrintRow(start);
            nextRow += kRowSeconds;
        }
        if (!warm && Since(start) >= warmUp)
            warm = Resident();
        sEnds = Since(start) >= seconds;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    U_DisplayPostedErrors();
    PrintRow(start);
    return warm;
}

void Run(double seconds, U_u64 seed)
{
    StartTelemetry();
    StartErrors();
    StartContexts();
    U_u32 sharedHog = 0;
    Check(U_RegisterHog("soak, shared", &sharedHog) == 0, "a shared hog");
    std::vector<Worker> workers;
    workers.reserve(kThreads);
    for (int number = 0; number < kThreads; ++number)
    {
        workers.emplace_back(number, seed + static_cast<U_u64>(number));
        workers.back().sharedHog = sharedHog;
        Check(U_RegisterHog("soak", &workers.back().hog) == 0, "a hog");
    }
    const U_u64 used = InUse();
    StartMemory();
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    sRunning = kThreads;
    for (Worker& worker : workers)
        threads.emplace_back(&Work, std::ref(worker));
    const U_u64 warm = Pump(seconds);
    for (std::thread& thread : threads)
        thread.join();

    const U_u64 resident = Resident();
    EndMemory();
    EndContexts();
    EndErrors();
    EndTelemetry();
    Check(!U_Die(), "no fatal report");
    Check(Purges() > 0, "at least one purge");
    Check(InUse() == used, "the same use as before");
    Check(resident <= warm + kMostGrowth, "a resident size that does not grow");
    std::printf("use before and after: %llu and %llu bytes; resident after the warm-up and at the "
                "end: %llu and %llu KiB\n",
                used, InUse(), warm >> 10, resident >> 10);
    for (const Worker& worker : workers)
        std::printf("thread %d: seed %llu\n", worker.number, worker.seed);
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
    Run(seconds, seed);
    Check(U_Death() == 0, "death");
    Check(sLeakLines == 0, "no leak at death");
    for (const Job& job : gJobs)
        std::printf("%-16s %10ld\n", job.name, job.runs.load());
    std::printf("refused allocations: %ld; violations: %ld\n", sRefusals.load(),
                sViolations.load());
    return sViolations ? 1 : 0;
}
