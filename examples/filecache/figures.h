// What a load comes to.

#ifndef FILECACHE_FIGURES_H
#define FILECACHE_FIGURES_H

#include <atomic>

#include <U_Types.h>

// Any thread.
struct LoadFigures
{
    std::atomic<U_u64> files{0};      // read to their end
    std::atomic<U_u64> bytes{0};      // of those
    std::atomic<U_u64> lines{0};      // of those, by their ends
    std::atomic<U_u64> checksum{0};   // sum over those, the same in any order
    std::atomic<U_u64> refusals{0};   // read, but couldn't be held
    std::atomic<U_u64> unreadable{0}; // failed to open or to be read
    std::atomic<U_u64> peakUse{0};    // the library's usage figure at its highest
};

#endif
