#include "recycled_memory.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>
#include <map>
#include <new>

#include <boost/core/bit.hpp>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>
#include <platform/base/memory_tools.h>
#include <platform/base/quiet_new.h>

#include "private/local_blocks.h"
#include "private/recycled_source.h"
#include "small_block.h"

namespace krobase
{
namespace utility
{
namespace
{
const int kLargestBlock = 0x7FFFFFEF;
const std::size_t kSmallestClass = 64; // bytes
const std::size_t kLargestClass = 1 << 30;
const std::size_t kClassesPerDoubling = 8;
const std::size_t kMostWaste = 4; // a pooled block may be a quarter larger than its request

std::atomic<const RecycledSource*> sSource(nullptr);

// Returns false if the pool keeps only the sizes of freed blocks.
bool KeepsBlocks()
{
    return !sSource.load(std::memory_order_acquire) && !platform::MemoryIsWatched();
}

// Returns a block of `blockSize` bytes, of which the owner has requested `size`. Null without
// memory.
void* NewBlock(std::size_t size, std::size_t blockSize)
{
    const RecycledSource* const source = sSource.load(std::memory_order_acquire);
    void* const block = source ? source->mAllocate(size) : nullptr;
    return block ? block : std::malloc(blockSize);
}

void FreeBlock(void* block)
{
    const RecycledSource* const source = sSource.load(std::memory_order_acquire);
    if (!source || !block || !source->mFree(block))
        std::free(block);
}

// Freed blocks by size. If a checker watches the process, or the heap is checked, the pool keeps
// the sizes only: each block is freed at once and allocated anew, so that the checks know each
// owner of a block. Blocks of at most LocalBlocks::kLargest bytes stay with the thread that frees
// them while there is room, so that threads do not wait for the lock.
class Pool
{
public:
    static Pool& Instance()
    {
        static platform::Immortal<Pool> instance;
        return *instance;
    }

    // Returns a block for `asked` bytes of a size class, and stores the size of the block in *size.
    // Returns null if no block fits, or without memory. Calls `charge` before the pool's sum falls.
    void* Take(std::size_t asked, std::size_t* size, RecycledMemory::Charge charge)
    {
        const std::size_t most = *size + *size / kMostWaste;
        LocalBlocks* const local = LocalBlocks::Find();
        if (void* const block = local ? local->Take(*size, most, size, charge) : nullptr)
            return block;
        Blocks::node_type sizeOnly;
        {
            const platform::ScLock lock(mLock);
            const auto found = mBlocks.lower_bound(*size);
            if (found == mBlocks.end() || found->first > most)
                return nullptr;
            if (found->second)
            {
                *size = found->first;
                charge(*size);
                return Remove(found);
            }
            sizeOnly = mBlocks.extract(found);
        }
        // Without the lock, since the checked heap may report a fault to a log sink.
        void* const block = NewBlock(asked, sizeOnly.key());
        const platform::ScLock lock(mLock);
        if (!block)
        {
            mBlocks.insert(std::move(sizeOnly));
            return nullptr;
        }
        *size = sizeOnly.key();
        charge(*size);
        mBytes -= *size;
        return block;
    }

    void Give(void* block, std::size_t size)
    {
        if (!KeepsBlocks())
        {
            FreeBlock(block);
            block = nullptr;
        }
        else if (size <= LocalBlocks::kLargest)
        {
            LocalBlocks* const local = LocalBlocks::Make(&GiveShared);
            if (local && local->Keep(block, size))
                return;
        }
        GiveShared(block, size);
    }

    // Takes no lock. A thread that reads the sum without a block also sees the charge for the
    // block. The blocks of the threads are read first: a block that moves to the shared blocks is
    // there before it leaves the thread.
    unsigned long long Bytes() const
    {
        const unsigned long long local = LocalBlocks::BytesOfAll();
        return local + mBytes.load(std::memory_order_acquire);
    }

    // For the budget, which reads the bound for every measured block. Takes no lock.
    unsigned long long MostBytes() const
    {
        const unsigned long long local = LocalBlocks::MostBytesOfAll();
        return local + mBytes.load(std::memory_order_acquire);
    }

    // Frees whole blocks up to the wanted bytes, the largest first. The rest is smaller than every
    // block left, and is cut off the smallest block.
    unsigned long long Purge(unsigned long long bytes)
    {
        const platform::ScLock lock(mLock);
        ShareAll();
        unsigned long long wanted = std::min(bytes, mBytes.load(std::memory_order_relaxed));
        const unsigned long long given = wanted;
        while (wanted)
        {
            const auto above = mBlocks.upper_bound(static_cast<std::size_t>(wanted));
            if (above == mBlocks.begin())
                break;
            const auto whole = std::prev(above);
            wanted -= whole->first;
            std::free(Remove(whole));
        }
        return given - (wanted ? wanted - Cut(static_cast<std::size_t>(wanted)) : 0);
    }

private:
    typedef std::multimap<std::size_t, void*> Blocks; // null: see above

    static void GiveShared(void* block, std::size_t size)
    {
        Pool& pool = Instance();
        try
        {
            const platform::ScLock lock(pool.mLock);
            pool.mBlocks.emplace(size, block);
            pool.mBytes += size;
        }
        catch (const std::exception&)
        {
            std::free(block);
        }
    }

    // Moves the blocks that the threads keep to the shared blocks. clang does not see in TakeAll
    // that the calling function has the lock.
    void ShareAll() PLATFORM_REQUIRES(mLock)
    {
        LocalBlocks::TakeAll([this](std::size_t size) { mBytes += size; },
                             [this](void* block, std::size_t size)
                                 PLATFORM_NO_THREAD_SAFETY_ANALYSIS {
                                     try
                                     {
                                         mBlocks.emplace(size, block);
                                     }
                                     catch (const std::exception&)
                                     {
                                         mBytes -= size;
                                         std::free(block);
                                     }
                                 },
                             [this](std::size_t size) { mBytes -= size; });
    }

    void* Remove(Blocks::iterator position) PLATFORM_REQUIRES(mLock)
    {
        void* block = position->second;
        mBytes -= position->first;
        mBlocks.erase(position);
        return block;
    }

    // Shortens the smallest block. Returns the bytes cut off, 0 if the C library refuses, and if
    // other threads have taken all sizes for their new blocks.
    std::size_t Cut(std::size_t bytes) PLATFORM_REQUIRES(mLock)
    {
        if (mBlocks.empty())
            return 0;
        Blocks::node_type node = mBlocks.extract(mBlocks.begin());
        const std::size_t rest = node.key() - bytes;
        void* const shrunk = node.mapped() ? std::realloc(node.mapped(), rest) : nullptr;
        const bool isCut = shrunk || !node.mapped();
        if (isCut)
        {
            node.mapped() = shrunk;
            node.key() = rest;
            mBytes -= bytes;
        }
        mBlocks.insert(std::move(node));
        return isCut ? bytes : 0;
    }

    platform::Mutex mLock;
    Blocks mBlocks PLATFORM_GUARDED_BY(mLock);
    std::atomic<unsigned long long> mBytes{0}; // written under the lock
};

// Rounds a size up to one of eight steps a doubling, so that a block also fits requests of about
// its size. Sizes above kLargestClass are not rounded, since users count the bytes of a block in
// signed 32 bits.
std::size_t SizeClass(std::size_t size)
{
    if (size <= kSmallestClass)
        return kSmallestClass;
    if (size > kLargestClass)
        return size;
    const std::size_t step = boost::core::bit_ceil(size) / 2 / kClassesPerDoubling;
    return (size + step - 1) & ~(step - 1);
}
} // namespace

void SetRecycledSource(const RecycledSource& source)
{
    sSource.store(&source, std::memory_order_release);
}

RecycledMemory::RecycledMemory(int size) : mBlock(nullptr), mBlockSize(0)
{
    if (size)
        Allocate(size);
}

RecycledMemory::~RecycledMemory()
{
    if (mBlock)
        Pool::Instance().Give(mBlock, mBlockSize);
}

void RecycledMemory::Allocate(int size)
{
    Allocate(size, [](std::size_t) {});
}

void RecycledMemory::Allocate(int size, Charge charge)
{
    if (mBlock)
        Pool::Instance().Give(mBlock, mBlockSize);
    mBlock = nullptr;
    mBlockSize = 0;
    if (size < 0 || size > kLargestBlock)
        throw std::bad_alloc();
    const std::size_t asked = static_cast<std::size_t>(size);
    std::size_t blockSize = SizeClass(asked);
    void* block = Pool::Instance().Take(asked, &blockSize, charge);
    if (!block)
    {
        block = NewBlock(asked, blockSize);
        if (!block)
            throw std::bad_alloc();
        charge(blockSize);
    }
    mBlock = block;
    mBlockSize = blockSize;
}

void* RecycledMemory::operator new(std::size_t size)
{
    LocalBlocks* const local = LocalBlocks::Find();
    void* const spare = local && size == sizeof(RecycledMemory) ? local->TakeObject() : nullptr;
    return spare ? spare : SmallBlockAllocator::Allocate(size);
}

void RecycledMemory::operator delete(void* object)
{
    LocalBlocks* const local = LocalBlocks::Find();
    if (!local || platform::MemoryIsWatched() || !local->KeepObject(object))
        SmallBlockAllocator::Dispose(object);
}

unsigned long long MemoryRecycler::GetCurrentPoolSize()
{
    return Pool::Instance().Bytes();
}

unsigned long long MemoryRecycler::GetMostPoolSize()
{
    return Pool::Instance().MostBytes();
}

unsigned long long MemoryRecycler::PurgeBytes(unsigned long long bytes)
{
    return Pool::Instance().Purge(bytes);
}
} // namespace utility
} // namespace krobase
