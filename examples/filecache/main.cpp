// A cache of files under a budget: a whole host of the library, from birth to death.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <U_Alloc.h>
#include <U_Budget.h>
#include <U_Lifecycle.h>
#include <U_MemServices.h>
#include <U_Posted.h>
#include <U_Threads.h>
#include <platform/control.h>
#include <program/folders.h>
#include <program/program.h>

#include "cache.h"
#include "console.h"
#include "crashes.h"
#include "dictionary_file.h"
#include "figure_rows.h"
#include "figure_table.h"
#include "loader.h"
#include "log_sink.h"
#include "losses.h"
#include "memory_plot.h"
#include "message.h"
#include "options.h"
#include "report_file.h"
#include "stop.h"
#include "system.h"
#include "telemetry_events.h"
#include "telemetry_file.h"
#include "walk.h"

namespace fs = std::filesystem;

namespace
{
enum ExitStatus
{
    kFine = 0,
    kFailed = 1,
    kWrongUsage = 2,
    kStopped = 3
};

const U_u64 kMiB = 1 << 20;
const unsigned int kUTF8CodePage = 65001;
const unsigned int kPlotInterval = 20; // milliseconds

// Returns a message if the folder cannot be walked.
Message CheckFolder(const std::string& folder)
{
    std::error_code error;
    const fs::file_type type = TypeOf(folder, error);
    if (type == fs::file_type::not_found)
        return {"$$$/QX/FileCache/Wrong/NoFolder=there is no folder '^^1'", {folder}};
    if (type == fs::file_type::none)
        return {"$$$/QX/FileCache/Wrong/UnknownFolder=can't look at '^^1': ^^2",
                {folder, error.message()}};
    if (type != fs::file_type::directory)
        return {"$$$/QX/FileCache/Wrong/NotAFolder='^^1' isn't a folder", {folder}};
    return Message();
}

// The limits are the files' budget plus the application's own footprint, which the library
// charges as use.
U_Status SetLimits(U_u64 budget)
{
    U_u64 ownSize = 0;
    U_PresumedAppSize(&ownSize);
    U_u64 maximum = ownSize + budget;
    return U_SetMemUsageLimits(maximum - std::max(kMiB, budget / 8), maximum);
}

// Writes the report file, if there is one. The file lacks the count of log lines, which is
// known only after the library's death. Returns false if the file cannot be written.
bool WriteReportFile(const Options& options, const Table& table, const Losses& losses,
                     Console& console)
{
    if (options.reportFile.empty())
        return true;
    const Message wrong = WriteReport(options.reportFile, options.folder, table, losses);
    if (wrong)
        console.Print(Text(wrong));
    return !wrong;
}

// Loads the folder's files and adds the figures to the table.
ExitStatus LoadFolder(const Options& options, Console& console, Table* table)
{
    LogStart(options);
    const auto start = std::chrono::steady_clock::now();
    StopCheck stop;
    Losses losses;
    const FoundFiles found = WalkFolder(options.folder, losses, stop);
    FileCache cache(console);
    U_SetPurgeRequestCallback(&FileCache::OnPurgeRequest, &cache);
    Loader loader(options.folder, found.names, options.budget, cache, losses, console, stop);
    const bool ran = loader.Run(options.threads);
    U_SetPurgeRequestCallback(nullptr, nullptr); // the cache ends before the library does
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;

    const LoadFigures& figures = loader.Figures();
    const U_u64 unreadable = found.unreadable + figures.unreadable;
    console.EndProgress();
    AddLoad(figures, cache, unreadable, time.count(), table);
    LogFinish(figures, cache, unreadable);

    // Files that were dropped during the load have been compared; this compares the rest.
    cache.DropOldest(~U_u64(0));
    if (cache.Mismatches() > 0)
        console.Print(Text({"$$$/QX/FileCache/Error/Mismatches="
                            "files that changed while they were held: ^^1",
                            {std::to_string(cache.Mismatches())}}));
    U_DisplayPostedErrors(); // the reports of the loaders and of the walk
    const bool isReported = WriteReportFile(options, *table, losses, console);
    if (stop.HasStopped())
    {
        console.Print(Text("$$$/QX/FileCache/Status/Stopped="
                           "stopped; the figures are of what was read to its end"));
        return kStopped;
    }
    const bool isFine = ran && isReported && unreadable == 0 && cache.Mismatches() == 0;
    return isFine ? kFine : kFailed;
}

// The objects made before the library's birth, and the messages about them. The messages
// are shown after birth: only then are there translated texts.
struct Preparation
{
    Options options;
    DictionaryFile dictionary;
    LogSink log;
    TelemetryFile telemetry;
    MemoryPlot plot;
    Message wrongUsage; // of the command line, or the folder
    Message badFile;    // the dictionary, the log or the telemetry
};

void Prepare(const std::vector<std::string>& arguments, Preparation* ready)
{
    Options& options = ready->options;
    ready->wrongUsage = ParseOptions(arguments, &options);
    if (options.language)
    {
        platform::SetUserLocale(options.language->locale);
        std::error_code error;
        const std::string program = ProgramFile(error);
        if (options.dictionary.empty())
            ready->badFile =
                ShippedDictionary(*options.language, program, error, &options.dictionary);
    }
    if (!ready->badFile && !options.dictionary.empty())
        ready->badFile = ready->dictionary.Read(options.dictionary);
    if (ready->wrongUsage || ready->badFile || options.help || options.version)
        return;
    ready->wrongUsage = CheckFolder(options.folder);
    if (!ready->wrongUsage && !options.logFile.empty())
        ready->badFile = ready->log.Open(options.logFile);
    if (!ready->wrongUsage && !ready->badFile && !options.telemetryFile.empty())
        ready->badFile = ready->telemetry.Open(options.telemetryFile);
    if (ready->wrongUsage || ready->badFile)
        return;
    if (!options.memoryPlot.empty())
        ready->badFile = ready->plot.Start(options.memoryPlot,
                                           options.memoryLog ? options.memoryLog : kPlotInterval);
    else if (options.memoryLog)
        AskForMemoryLog(options.memoryLog, "");
}

// Runs the command line between birth and death.
ExitStatus Run(Preparation& ready, Console& console, Table* table)
{
    if (U_Status status = ready.dictionary.Use())
    {
        console.Print(Text({"$$$/QX/FileCache/Error/NoDictionary="
                            "can't use the dictionary ^^1: error ^^2",
                            {ready.options.dictionary, std::to_string(status)}}));
        return kFailed;
    }
    if (ready.badFile)
        console.Print(Text(ready.badFile));
    if (ready.wrongUsage)
        console.Print(
            Text({"$$$/QX/FileCache/Wrong/SeeHelp=^^1 (see --help)", {Text(ready.wrongUsage)}}));
    if (ready.badFile || ready.wrongUsage)
        return kWrongUsage;
    if (ready.options.help)
    {
        PrintUsage();
        return kFine;
    }
    if (ready.options.version)
    {
        std::puts("filecache " FILECACHE_VERSION);
        return kFine;
    }
    if (U_Status status = SetLimits(ready.options.budget))
    {
        console.Print(Text({"$$$/QX/FileCache/Error/NoLimits="
                            "can't set the memory limits: error ^^1",
                            {std::to_string(status)}}));
        return kFailed;
    }
    PrepareLastCall();
    if (ready.options.crash)
        ready.options.crash();
    return LoadFolder(ready.options, console, table);
}

// Returns the message about a failed birth.
Message NoBirth(U_Status status)
{
    int error = 0;
    const std::string path = U_GetMemoryLogPath(&error);
    if (error != 0 && status == error)
        return CantWrite(path, std::strerror(error));
    return {"$$$/QX/FileCache/Error/NoBirth=the library can't start: error ^^1",
            {std::to_string(status)}};
}

// Texts for messages after the library's death, which ends the dictionary.
struct LastTexts
{
    std::string noDeath = Text("$$$/QX/FileCache/Error/NoDeath=the library can't end: error ^^1");
    std::string lostFile = Text("$$$/QX/FileCache/Error/LostFile=can't write all of ^^1");
    std::string lostOutput = Text("$$$/QX/FileCache/Error/LostOutput=can't write the output: ^^1");
    std::string logLines = Text("$$$/QX/FileCache/Figure/LogLines=log lines");
};
} // namespace

int main(int argc, char** argv)
{
    const ProgramStart start(argc, argv);
    // Dictionaries in the text form are read as their translators write them.
    platform::SetActiveCodePage(kUTF8CodePage);
    Preparation ready;
    Prepare(start.Arguments(), &ready);
    const StopKeys stopKeys; // until the end: a late stop changes nothing
    Console console(ready.options.verbose);
    Table table;
    ExitStatus status = kFailed;
    U_Status error = U_Birth("File cache", nullptr);
    if (error)
        console.Print(Text(NoBirth(error)));
    else
        status = Run(ready, console, &table);
    const LastTexts texts;
    if (!error && (error = U_Death()) != 0)
    {
        console.Print(Fill(texts.noDeath, {std::to_string(error)}));
        status = kFailed;
    }
    U_DeregisterMainThread();

    if (!ready.log.Close())
    {
        console.Print(Fill(texts.lostFile, {ready.options.logFile}));
        status = kFailed;
    }
    if (!ready.telemetry.Close())
    {
        console.Print(Fill(texts.lostFile, {ready.options.telemetryFile}));
        status = kFailed;
    }
    if (!table.Empty())
    {
        if (const Message wrong = ready.plot.Draw())
        {
            console.Print(Text(wrong));
            status = kFailed;
        }
        table.AddCount("log_lines", texts.logLines, ready.log.Lines());
        table.Print();
    }
    if (std::fflush(stdout) != 0)
    {
        console.Print(Fill(texts.lostOutput, {std::strerror(errno)}));
        status = kFailed;
    }
    return status;
}
