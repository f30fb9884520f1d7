// Reports.
//
// The peers: the resolution of one of the texts of a report, and a logger of spdlog with a sink
// that drops its lines.

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/thread/barrier.hpp>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/spdlog.h>

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

const char kText[] = "The file hill.tif can't be read.";

U_UTF16String sShown; // the text of the latest alert
std::string sLogged;  // the latest line of the log
std::string sCalled;  // the text of the latest callback

class Library
{
public:
    Library()
    {
        sShown.clear();
        platform::SetAlertPresenter([](const platform::Alert& alert) { sShown = alert.text; });
        platform::SetLogSink(
            [](int, const char*, const char*, const char* line) { sLogged.assign(line); });
        U_Birth("bench_report", nullptr);
        U_ZStringSetEnglish();
        U_IncrementPostErrors();
    }

    ~Library()
    {
        U_Death();
        platform::ResetAll();
    }

    const U_UTF16String mText = U_AsciiToUTF16String(kText);
};

bool Begins(const std::string& text, const std::string& head)
{
    return text.compare(0, head.size(), head) == 0;
}

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
    sLogged.clear();
    U_ReportError(kLocation, U_Sev_WARNING, library.mText);
    U_u32 count = 0;
    U_GetHowManyErrors(&count);
    if (count != 1 || !sLogged.empty())
        state.SkipWithError("not counted, or logged");
    for (auto _ : state)
        U_ReportError(kLocation, U_Sev_WARNING, library.mText);
}

// A warning whose one effect is its line in the log.
void Logged(benchmark::State& state)
{
    const Library library;
    Up_SetInteract(U_u32(U_Sev_WARNING) << 16);
    U_ReportError(kLocation, U_Sev_WARNING, library.mText);
    if (!Begins(sLogged, "bench_report warning: " + std::string(kText)))
        state.SkipWithError("not the line");
    for (auto _ : state)
        U_ReportError(kLocation, U_Sev_WARNING, library.mText);
}

// An information, which has no line in the log, for one callback.
void Called(benchmark::State& state)
{
    const Library library;
    Up_SetInteract(U_u32(U_Sev_INFO) << 16);
    U_AddLoggingCallback(
        [](void*, U_u32, U_u16, const char* text) -> U_Status {
            sCalled.assign(text);
            return 0;
        },
        nullptr);
    U_ReportError(kLocation, U_Sev_INFO, library.mText);
    if (sCalled != "bench_report: " + std::string(kText))
        state.SkipWithError("not the text");
    for (auto _ : state)
        U_ReportError(kLocation, U_Sev_INFO, library.mText);
}

// spdlog, with a level that drops the line or with a sink that drops the line. The line is checked
// in a sink that keeps it.
void LogBySpdlog(benchmark::State& state, spdlog::level::level_enum level)
{
    const auto kept = std::make_shared<spdlog::sinks::ringbuffer_sink_mt>(1);
    spdlog::logger logger("bench_report", kept);
    logger.set_level(level);
    const std::string file = "hill.tif";
    logger.warn("The file {} can't be read.", file);
    const auto lines = kept->last_raw();
    if (level > spdlog::level::warn
            ? !lines.empty()
            : lines.size() != 1 ||
                  std::string(lines[0].payload.begin(), lines[0].payload.end()) != kText)
        state.SkipWithError("not the line");
    logger.sinks() = {std::make_shared<spdlog::sinks::null_sink_mt>()};
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(&logger);
        logger.warn("The file {} can't be read.", file);
    }
}

void UnwantedBySpdlog(benchmark::State& state)
{
    LogBySpdlog(state, spdlog::level::err);
}

void LoggedBySpdlog(benchmark::State& state)
{
    LogBySpdlog(state, spdlog::level::warn);
}

void Post(benchmark::State& state, U_u16 severity, U_u32 mask)
{
    const Library library;
    Up_SetInteract(mask);
    U_ReportError(kLocation, severity, library.mText);
    U_DisplayPostedErrors();
    if (sShown.find(library.mText) == U_UTF16String::npos)
        state.SkipWithError("not the message");
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
BENCHMARK(UnwantedBySpdlog);
BENCHMARK(Logged);
BENCHMARK(Called);
BENCHMARK(LoggedBySpdlog);
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
