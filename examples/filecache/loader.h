// Loads files into the cache on render threads.

#ifndef FILECACHE_LOADER_H
#define FILECACHE_LOADER_H

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <vector>

#include <U_Types.h>

#include "cache.h"
#include "console.h"

struct LoadFigures
{
    std::atomic<U_u64> files{0};      // read to their end
    std::atomic<U_u64> bytes{0};      // of those
    std::atomic<U_u64> checksum{0};   // sum over those, the same in any order
    std::atomic<U_u64> refusals{0};   // read, but couldn't be held
    std::atomic<U_u64> unreadable{0}; // failed to open or to be read
    std::atomic<U_u64> peakUse{0};    // the library's usage figure at its highest
};

class Loader
{
public:
    // The first file that the budget can't hold is told to the user in the
    // library's words: it is reason enough for a larger budget. The figures
    // count the others.
    Loader(const std::string& folder, const std::vector<std::string>& names, U_u64 budget,
           FileCache& cache, Console& console);

    // Loads all files and returns when that is done. False if an error ended a
    // thread early; it has been told.
    bool Run(unsigned int threads);

    const LoadFigures& Figures() const { return mFigures; }

private:
    void RunThread(unsigned int number);
    void LoadFiles();
    void LoadFile(const std::string& name);

    // False if the file was refused beside others, which take memory of their
    // own while they are read. Alone, a refusal says that the budget can't hold
    // it.
    bool TryFile(const std::string& name, bool alone);
    void Unreadable(const std::string& path, int error);
    void Refused(const std::string& path, U_u64 size);

    // The name under which a refusal is told; empty if one has been.
    std::string OperationName(const std::string& path, bool refusalIsCertain);

    void SampleUse();
    void WaitForThreads();

    const std::string& mFolder;
    const std::vector<std::string>& mNames;
    const U_u64 mBudget;
    FileCache& mCache;
    Console& mConsole;
    LoadFigures mFigures;

    std::atomic<size_t> mNext{0}; // the first name that no thread has taken
    std::atomic<bool> mRefusalTold{false};
    std::shared_mutex mTurn; // shared while a file is loaded beside others
    std::atomic<bool> mFailed{false};
    std::mutex mLock; // guards mRunning
    std::condition_variable mThreadEnded;
    unsigned int mRunning = 0;
};

#endif
