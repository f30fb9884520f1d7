// Loads files into the cache on render threads, and decodes them on threads of its own.

#ifndef FILECACHE_LOADER_H
#define FILECACHE_LOADER_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <vector>

#include <U_Abort.h>
#include <U_Types.h>
#include <krobase/executor.h>

#include "cache.h"
#include "console.h"
#include "file_block.h"
#include "file_task.h"
#include "load_figures.h"
#include "losses.h"

class Loader
{
public:
    // The library reports the first file that the budget cannot hold: one report is reason
    // enough for a larger budget. The figures count the others. Only the thread of Run asks
    // the throttler.
    Loader(const std::string& folder, const std::vector<std::string>& names, U_u64 budget,
           FileCache& cache, Losses& losses, Console& console, U_UIThrottler& throttler);

    // Loads all files, or until the throttler answers that the user has aborted: a file that
    // is not read to its end by then is dropped. Returns after all threads have ended. False
    // if an error ended a thread early; the error has been reported.
    bool Run(unsigned int threads);

    const LoadFigures& Figures() const { return mFigures; }

private:
    bool MakeDecoders(unsigned int threads);
    void RunThread(unsigned int number);
    void ReportEarlyEnd(unsigned int number, const std::string& why);
    void LoadFiles();
    void LoadFile(const std::string& name);

    // Returns false if the file was refused while others were being read, which use memory,
    // too. A file that is refused alone does not fit the budget.
    bool TryFile(const std::string& name, bool alone);

    // Reads and decodes the file, to its end or until the block is refused if that
    // is all that matters. Returns 0, or the system's error.
    int Read(std::FILE* file, bool untilRefused, FileBlock* block);
    void DecodeElsewhere(const void* bytes, size_t size);
    void Unreadable(const std::string& path, int error);
    void Refused(const std::string& path, U_u64 size);

    // The name for the report of a refusal; empty after the first report.
    std::string OperationName(const std::string& path, bool refusalIsCertain);

    void SampleUse();
    bool WaitForThreads(std::chrono::milliseconds longest);
    void ShowProgressUntilDone();

    const std::string& mFolder;
    const std::vector<std::string>& mNames;
    const U_u64 mBudget;
    FileCache& mCache;
    Losses& mLosses;
    Console& mConsole;
    U_UIThrottler& mThrottler;
    LoadFigures mFigures;
    const FileTasks mTasks{mFigures};
    boost::shared_ptr<krobase::threads::AsyncThreadedExecutor> mDecoders; // while it runs

    std::atomic<size_t> mNext{0}; // the first name that no thread has taken
    std::atomic<bool> mIsRefusalPrinted{false};
    std::shared_mutex mTurn; // shared while a file is loaded beside others
    std::atomic<bool> mFailed{false};
    std::atomic<bool> mStopping{false};
    std::mutex mLock; // guards mRunning
    std::condition_variable mThreadEnded;
    unsigned int mRunning = 0;
};

#endif
