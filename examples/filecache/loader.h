// Loads files into the cache on render threads.

#ifndef FILECACHE_LOADER_H
#define FILECACHE_LOADER_H

#include <atomic>
#include <condition_variable>
#include <mutex>
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
    // Files larger than the budget aren't offered to the cache: asking for so
    // much would empty it for nothing.
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
    void SampleUse();
    void WaitForThreads();

    const std::string& mFolder;
    const std::vector<std::string>& mNames;
    const U_u64 mBudget;
    FileCache& mCache;
    Console& mConsole;
    LoadFigures mFigures;

    std::atomic<size_t> mNext{0}; // the first name that no thread has taken
    std::atomic<bool> mFailed{false};
    std::mutex mLock; // guards mRunning
    std::condition_variable mThreadEnded;
    unsigned int mRunning = 0;
};

#endif
