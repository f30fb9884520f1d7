// Reports.
//
// The floor is the resolution of one of the texts of a report. The rest of the time of a report
// is the report path itself.

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/thread/barrier.hpp>

#include <platform/control.h>

#include "U_Encoding.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_ZString.h"

namespace
{
const U_u32 kLocation = 0x120034;
const int kBatch = 2000;        // messages between two displays
const int kThreadBatch = 10000; // the same, for each thread

class Library
{
public:
    Library()
    {
        platform::SetLogSink([](int, const char*, const char*, const char*) {});
        platform::SetAlertPresenter([](const platform::Alert&) {});
        U_Birth("bench_report", nullptr);
        U_ZStringSetEnglish();
        U_IncrementPostErrors();
    }

    ~Library()
    {
        U_Death();
        platform::ResetAll();
    }

    const U_UTF16String mText = U_AsciiToUTF16String("The file hill.tif can't be read.");
};

void Resolution(benchmark::State& state)
{
    const Library library;
    for (auto _ : state)
        benchmark::DoNotOptimize(U_ZStringToUTF16String("$$$/QX/U/qx_err_msg_order=@0@1"));
}

void Unwanted(benchmark::State& state)
{
    const Library library;
    Up_SetInteract(0);
    for (auto _ : state)
        U_ReportError(kLocation, U_Sev_WARNING, library.mText);
}

void Post(benchmark::State& state, U_u16 severity, U_u32 mask)
{
    const Library library;
    Up_SetInteract(mask);
    int posted = 0;
    for (auto _ : state)
    {
        U_ReportError(kLocation, severity, library.mText);
        if (++posted % kBatch)
            continue;
        state.PauseTiming();
        U_DisplayPostedErrors();
        state.ResumeTiming();
    }
}

void Posted(benchmark::State& state)
{
    Post(state, U_Sev_INFO, 0xFFFFFFFF);
}

void PostedWithLogLine(benchmark::State& state)
{
    Post(state, U_Sev_WARNING, 0xFFFFFFFF);
}

typedef std::chrono::steady_clock Clock;

struct Poster
{
    std::thread mThread;
    Clock::time_point mBegun;
    Clock::time_point mEnded;
};

// All threads post a batch at once. The messages are displayed between two batches. The result is
// the time for one message, from the start of the first thread to the end of the last one, by the
// clocks of these threads: the main thread may get no core meanwhile.
void PostedByThreads(benchmark::State& state)
{
    const Library library;
    const auto threadCount = static_cast<unsigned int>(state.range(0));
    boost::barrier start(threadCount + 1);
    boost::barrier end(threadCount + 1);
    bool stop = false;
    std::vector<Poster> posters(threadCount);
    for (Poster& poster : posters)
        poster.mThread = std::thread([&] {
            for (start.wait(); !stop; start.wait())
            {
                poster.mBegun = Clock::now();
                for (int posted = 0; posted < kThreadBatch; ++posted)
                    U_ReportError(kLocation, U_Sev_INFO, library.mText);
                poster.mEnded = Clock::now();
                end.wait();
            }
        });
    for (auto _ : state)
    {
        start.wait();
        end.wait();
        Clock::time_point begun = posters[0].mBegun;
        Clock::time_point ended = posters[0].mEnded;
        for (const Poster& poster : posters)
        {
            begun = std::min(begun, poster.mBegun);
            ended = std::max(ended, poster.mEnded);
        }
        const std::chrono::duration<double> took = ended - begun;
        state.SetIterationTime(took.count() / (threadCount * kThreadBatch));
        U_DisplayPostedErrors();
    }
    stop = true;
    start.wait();
    for (Poster& poster : posters)
        poster.mThread.join();
}
} // namespace

BENCHMARK(Resolution);
BENCHMARK(Unwanted);
BENCHMARK(Posted);
BENCHMARK(PostedWithLogLine);

// The thread counts of the plot.
BENCHMARK(PostedByThreads)
    ->Name("Growth/posting/posted report")
    ->RangeMultiplier(2)
    ->Range(1, 8)
    ->Iterations(40)
    ->UseManualTime();

BENCHMARK_MAIN();
