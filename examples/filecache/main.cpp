// A cache of files under a budget: what a host does to use the library, from
// birth to death.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <U_Alloc.h>
#include <U_Budget.h>
#include <U_Lifecycle.h>
#include <U_Threads.h>

#include "cache.h"
#include "console.h"
#include "loader.h"
#include "log_sink.h"
#include "options.h"
#include "walk.h"

namespace fs = std::filesystem;

namespace
{
enum ExitStatus
{
    kFine = 0,
    kFailed = 1,
    kWrongUsage = 2
};

const U_u64 kMiB = 1 << 20;

// What is wrong with the folder, empty if nothing is.
std::string CheckFolder(const std::string& folder)
{
    std::error_code error;
    const fs::file_status status = fs::status(folder, error);
    if (status.type() == fs::file_type::not_found)
        return "there is no folder '" + folder + "'";
    if (status.type() == fs::file_type::none)
        return "can't look at '" + folder + "': " + error.message();
    if (status.type() != fs::file_type::directory)
        return "'" + folder + "' isn't a folder";
    return std::string();
}

// The files' budget comes on top of the application's own footprint, which the
// library charges to its usage figure.
U_Status SetLimits(U_u64 budget)
{
    U_u64 ownSize = 0;
    U_PresumedAppSize(&ownSize);
    U_u64 maximum = ownSize + budget;
    return U_SetMemUsageLimits(maximum - std::max(kMiB, budget / 8), maximum);
}

void PrintCount(const char* name, U_u64 count)
{
    std::printf("%-16s %12llu\n", name, count);
}

void PrintBytes(const char* name, U_u64 bytes)
{
    std::printf("%-16s %12llu  %9.1f MiB\n", name, bytes,
                static_cast<double>(bytes) / static_cast<double>(kMiB));
}

void PrintMemory(const LoadFigures& figures, const FileCache& cache)
{
    U_u64 prepurge = 0;
    U_u64 maximum = 0;
    U_GetMemUsageLimits(&prepurge, &maximum);
    PrintCount("files held", cache.FilesHeld());
    PrintBytes("bytes held", cache.BytesHeld());
    PrintBytes("peak use", figures.peakUse);
    PrintBytes("prepurge limit", prepurge);
    PrintBytes("maximum limit", maximum);
    PrintCount("purge requests", cache.PurgeRequests());
    PrintBytes("bytes purged", cache.BytesPurged());
    PrintBytes("recycled pool", U_GetRecycledMemorySize());
}

void PrintSpeed(U_u64 bytes, double seconds)
{
    double megabytes = static_cast<double>(bytes) / 1e6;
    std::printf("%-16s %12.3f s\n", "time", seconds);
    std::printf("%-16s %12.1f MB/s\n", "speed", seconds > 0 ? megabytes / seconds : 0.0);
}

// Loads the folder's files and prints what came of it. False if something
// couldn't be read or didn't match.
bool LoadFolder(const Options& options, Console& console)
{
    const auto start = std::chrono::steady_clock::now();
    const FoundFiles found = WalkFolder(options.folder, console);
    FileCache cache(console);
    U_SetPurgeRequestCallback(&FileCache::OnPurgeRequest, &cache);
    Loader loader(options.folder, found.names, options.budget, cache, console);
    const bool ran = loader.Run(options.threads);
    U_SetPurgeRequestCallback(nullptr, nullptr); // the cache ends before the library does
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;

    const LoadFigures& figures = loader.Figures();
    const U_u64 unreadable = found.unreadable + figures.unreadable;
    console.EndProgress();
    PrintCount("files read", figures.files);
    PrintBytes("bytes read", figures.bytes);
    PrintMemory(figures, cache);
    PrintCount("refusals", figures.refusals);
    PrintCount("unreadable", unreadable);
    std::printf("%-16s %016llx\n", "checksum", figures.checksum.load());
    PrintSpeed(figures.bytes, time.count());

    // What was dropped on the way has been checked; this checks the rest.
    cache.DropOldest(~U_u64(0));
    if (cache.Mismatches() > 0)
        console.Tell("%llu files changed while they were held", cache.Mismatches());
    return ran && unreadable == 0 && cache.Mismatches() == 0;
}

// Runs the program inside the library's life.
bool Run(const Options& options, Console& console)
{
    if (U_Status status = U_Birth("File cache", nullptr))
    {
        console.Tell("the library can't start: error %d", status);
        return false;
    }
    bool fine = false;
    if (U_Status status = SetLimits(options.budget))
        console.Tell("can't set the memory limits: error %d", status);
    else
        fine = LoadFolder(options, console);
    if (U_Status status = U_Death())
    {
        console.Tell("the library can't end: error %d", status);
        fine = false;
    }
    U_DeregisterMainThread();
    return fine;
}
} // namespace

int main(int argc, char** argv)
{
    Options options;
    std::string wrong = ParseOptions(argc, argv, &options);
    Console console(options.verbose);
    if (wrong.empty() && options.help)
    {
        std::fputs(kUsage, stdout);
        return kFine;
    }
    if (wrong.empty())
        wrong = CheckFolder(options.folder);
    if (!wrong.empty())
    {
        console.Tell("%s (see --help)", wrong.c_str());
        return kWrongUsage;
    }

    LogSink log;
    if (!options.logFile.empty() && !log.Open(options.logFile))
    {
        console.Tell("can't write %s: %s", options.logFile.c_str(), std::strerror(errno));
        return kWrongUsage;
    }
    bool fine = Run(options, console);
    if (!log.Close())
    {
        console.Tell("can't write %s", options.logFile.c_str());
        fine = false;
    }
    PrintCount("log lines", log.Lines());
    if (std::fflush(stdout) != 0)
    {
        console.Tell("can't write the figures: %s", std::strerror(errno));
        fine = false;
    }
    return fine ? kFine : kFailed;
}
