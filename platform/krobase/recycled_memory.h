// Blocks that a pool keeps for the next request.
//
// Thread safety: all functions may be called on any thread. One RecycledMemory object is used by
// one thread at a time.

#ifndef KROBASE_RECYCLED_MEMORY_H
#define KROBASE_RECYCLED_MEMORY_H

#include <cstddef>

#include <platform/base/export.h>

namespace krobase
{
namespace utility
{
// Owns at most one block. The destructor returns the block to the pool.
class PLATFORM_EXPORT RecycledMemory
{
public:
    // Allocates size bytes unless size is 0.
    explicit RecycledMemory(int size);
    ~RecycledMemory();
    RecycledMemory(const RecycledMemory&) = delete;
    RecycledMemory& operator=(const RecycledMemory&) = delete;

    // Allocates a block of at least `size` bytes, from the pool if a block in the pool fits.
    // First returns the object's present block to the pool.
    //
    // Throws: std::bad_alloc without memory, or for a `size` that is negative or above
    // 0x7FFFFFEF. Then the object owns no block.
    void Allocate(int size);

    // Works like Allocate(size). If the object gets a block, calls `charge` once with the size of
    // the block in bytes. A block from the pool is charged before GetCurrentPoolSize falls, so
    // every reader finds the block in the pool or charged.
    //
    // REQUIRES: `charge` throws nothing, and calls nothing that takes the lock of the pool.
    typedef void (*Charge)(std::size_t blockSize);
    void Allocate(int size, Charge charge);

    static void* operator new(std::size_t size);
    static void operator delete(void* object);

    void* mBlock; // null without a block; aligned for any type

    // The bytes that the pool counts for the block, 0 without a block. The owner uses only the
    // bytes that were requested: a block of the checked heap has no more.
    std::size_t mBlockSize;
};

class PLATFORM_EXPORT MemoryRecycler
{
public:
    // Returns the bytes in the pool. Takes no lock. The cost grows with the number of threads.
    static unsigned long long GetCurrentPoolSize();

    // Returns a bound of the bytes in the pool: at most 64 KiB a thread more. Takes no lock. The
    // cost does not depend on the number of threads.
    static unsigned long long GetMostPoolSize();

    // Gives `bytes` bytes of the pool, or the whole pool if it is smaller, back to the C
    // library: whole blocks, and the end of one more block. Returns the bytes given back.
    static unsigned long long PurgeBytes(unsigned long long bytes);
};
} // namespace utility
} // namespace krobase

#endif
