// Blocks that are kept for the next request instead of going back to the
// system at once. Any thread; one RecycledMemory object is one thread's at a
// time.

#ifndef KROBASE_RECYCLED_MEMORY_H
#define KROBASE_RECYCLED_MEMORY_H

#include <cstddef>

#include <platform/base/export.h>

namespace krobase
{
namespace utility
{
// Owns one block, or none. The destructor gives the block to the pool.
class PLATFORM_EXPORT RecycledMemory
{
public:
    // Allocates size bytes unless size is 0.
    explicit RecycledMemory(int size);
    ~RecycledMemory();
    RecycledMemory(const RecycledMemory&) = delete;
    RecycledMemory& operator=(const RecycledMemory&) = delete;

    // Gives the object a block of at least size bytes, out of the pool if it
    // holds one that fits; a block that the object had goes to the pool first.
    // Throws std::bad_alloc, with no block owned, if there is none or size is
    // negative or above 0x7FFFFFEF.
    void Allocate(int size);

    // As Allocate(size), with a charge for the block. `charge` is called once, with the size of
    // the block in bytes, if the object gets a block. A block out of the pool is charged
    // before GetCurrentPoolSize falls: every reader finds the block in the pool or charged.
    //
    // REQUIRES: `charge` throws nothing and does not call the pool, whose lock is held.
    typedef void (*Charge)(std::size_t blockSize);
    void Allocate(int size, Charge charge);

    static void* operator new(std::size_t size);
    static void operator delete(void* object);

    void* mBlock;           // null without a block; aligned for any type
    std::size_t mBlockSize; // bytes, 0 without a block
};

class PLATFORM_EXPORT MemoryRecycler
{
public:
    // Bytes that the pool holds.
    static unsigned long long GetCurrentPoolSize();

    // Gives bytes of the pool, or all of it if that is less, back to the C
    // library: whole blocks, and the end of one more. Returns the bytes given.
    static unsigned long long PurgeBytes(unsigned long long bytes);
};
} // namespace utility
} // namespace krobase

#endif
