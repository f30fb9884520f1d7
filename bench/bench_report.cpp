// Reports.
//
// The peers: the resolution of one of the texts of a report, and loggers of spdlog. As the library,
// a logger gets a ready text, and its sink copies the line with the program's name, the severity
// and the location.

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/thread/barrier.hpp>
#include <spdlog/sinks/base_sink.h>
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

void Resolution(benchmark::State& state)
{
    const Library library;
    const char kOrder[] = "$$$/QX/U/qx_err_msg_order=@0@1";
    if (U_ZStringToUTF16String(kOrder) != U_AsciiToUTF16String("@0@1"))
        state.SkipWithError("not the text");
    for (auto _ : state)
        benchmark::DoNotOptimize(U_ZStringToUTF16String(kOrder));
}

const std::string kLine =
    "bench_report warning: " + std::string(kText) + "\t( 18 :: 52 )"; // of either log
const std::string kCalledText = "bench_report: " + std::string(kText);

void Unwanted(benchmark::State& state)
{
    const Library library;
    sLogged.clear();
    Up_SetInteract(U_u32(U_Sev_WARNING) << 16);
    U_ReportError(kLocation, U_Sev_WARNING, library.mText);
    if (sLogged != kLine)
        state.SkipWithError("a wanted report has not the line");
    sLogged.clear();
    Up_SetInteract(0);
    for (auto _ : state)
        U_ReportError(kLocation, U_Sev_WARNING, library.mText);
    U_u32 count = 0;
    U_GetHowManyErrors(&count);
    if (count != state.iterations() + 1 || !sLogged.empty())
        state.SkipWithError("not counted, or logged");
}

// A warning whose one effect is its line in the log.
void Logged(benchmark::State& state)
{
    const Library library;
    Up_SetInteract(U_u32(U_Sev_WARNING) << 16);
    U_ReportError(kLocation, U_Sev_WARNING, library.mText);
    if (sLogged != kLine)
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
    if (sCalled != kCalledText)
        state.SkipWithError("not the text");
    for (auto _ : state)
        U_ReportError(kLocation, U_Sev_INFO, library.mText);
}

// Formats each line and copies it.
class CopyingSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
    std::string mLine; // the latest one, without its line feed

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        mLine.assign(line.data(), line.size());
    }
    void flush_() override {}
};

// A logger of spdlog that writes the library's lines. The location is the source of a line.
class SpdlogLogger
{
public:
    explicit SpdlogLogger(const char* pattern)
    {
        mLogger.set_formatter(std::make_unique<spdlog::pattern_formatter>(
            pattern, spdlog::pattern_time_type::local, ""));
    }

    // The time is given, since the library reads no clock for a report.
    void Log(spdlog::level::level_enum level)
    {
        mLogger.log(spdlog::log_clock::time_point(), kSource, level, mText);
    }

    const std::shared_ptr<CopyingSink> mSink = std::make_shared<CopyingSink>();
    spdlog::logger mLogger{"bench_report", mSink};

private:
    static constexpr spdlog::source_loc kSource{"18", 52, ""};
    const spdlog::string_view_t mText = kText;
};

const char kLinePattern[] = "%n %l: %v\t( %g :: %# )";

void UnwantedBySpdlog(benchmark::State& state)
{
    SpdlogLogger logger(kLinePattern);
    logger.Log(spdlog::level::warn);
    if (logger.mSink->mLine != kLine)
        state.SkipWithError("a wanted line is another one");
    logger.mSink->mLine.clear();
    logger.mLogger.set_level(spdlog::level::err);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(&logger);
        logger.Log(spdlog::level::warn);
    }
    if (!logger.mSink->mLine.empty())
        state.SkipWithError("logged");
}

void LogBySpdlog(benchmark::State& state, const char* pattern, spdlog::level::level_enum level,
                 const std::string& line)
{
    SpdlogLogger logger(pattern);
    logger.Log(level);
    if (logger.mSink->mLine != line)
        state.SkipWithError("not the line");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(&logger);
        logger.Log(level);
    }
}

void LoggedBySpdlog(benchmark::State& state)
{
    LogBySpdlog(state, kLinePattern, spdlog::level::warn, kLine);
}

void CalledBySpdlog(benchmark::State& state)
{
    LogBySpdlog(state, "%n: %v", spdlog::level::info, kCalledText);
}

// Messages that are kept: as many as the library keeps between two displays.
void PostedBySpdlog(benchmark::State& state)
{
    SpdlogLogger logger(kLinePattern);
    const auto kept = std::make_shared<spdlog::sinks::ringbuffer_sink_mt>(kBatch);
    logger.mLogger.sinks() = {kept};
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(&logger);
        logger.Log(spdlog::level::info);
    }
    const auto last = kept->last_raw(1);
    if (last.size() != 1 || last[0].payload != kText)
        state.SkipWithError("not the message");
}

void Post(benchmark::State& state, U_u16 severity, const std::string& line)
{
    const Library library;
    sLogged.clear();
    Up_SetInteract(0xFFFFFFFF);
    U_ReportError(kLocation, severity, library.mText);
    U_DisplayPostedErrors();
    if (sShown.find(library.mText) == U_UTF16String::npos)
        state.SkipWithError("not the message");
    if (sLogged != line)
        state.SkipWithError("not the line");
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
    Post(state, U_Sev_INFO, "");
}

void PostedWithLogLine(benchmark::State& state)
{
    Post(state, U_Sev_WARNING, kLine);
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
BENCHMARK(CalledBySpdlog);
BENCHMARK(Posted);
BENCHMARK(PostedBySpdlog);
BENCHMARK(PostedWithLogLine);

// The thread counts of the plot.
BENCHMARK(PostedByThreads)
    ->Name("Growth/posting/posted report")
    ->RangeMultiplier(2)
    ->Range(1, 8)
    ->Iterations(40)
    ->UseManualTime();

BENCHMARK_MAIN();
