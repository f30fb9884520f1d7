// The figures of a load, and the checksum of a file.

#ifndef FILECACHE_LOAD_FIGURES_H
#define FILECACHE_LOAD_FIGURES_H

#include <atomic>
#include <cstddef>

#include <U_Types.h>

// Thread safety: any thread.
struct LoadFigures
{
    std::atomic<U_u64> files{0};      // read to their end
    std::atomic<U_u64> bytes{0};      // of those files
    std::atomic<U_u64> lines{0};      // of those files, by their line ends
    std::atomic<U_u64> checksum{0};   // the sum over those files, the same in any order
    std::atomic<U_u64> refusals{0};   // files read that could not be held
    std::atomic<U_u64> unreadable{0}; // failed to open or to be read
    std::atomic<U_u64> peakUse{0};    // the library's usage figure at its highest
};

// FNV-1a with 64 bits.
const U_u64 kChecksumStart = 0xCBF29CE484222325u;

// Returns the checksum continued over more bytes.
inline U_u64 Checksum(U_u64 sum, const void* bytes, size_t size)
{
    const U_u8* byte = static_cast<const U_u8*>(bytes);
    for (const U_u8* end = byte + size; byte != end; ++byte)
        sum = (sum ^ *byte) * 0x100000001B3u;
    return sum;
}

#endif
