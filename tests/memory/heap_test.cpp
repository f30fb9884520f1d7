// The heap itself, on many threads at once.

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "tests/support/BornLibrary.h"

namespace
{
class Heap : public BornLibrary
{
};

struct Block
{
    void** handle;
    void* pointer;
    U_u64 size;
    unsigned char fill;

    unsigned char* Bytes() const { return static_cast<unsigned char*>(handle ? *handle : pointer); }
    bool IsHeld() const { return handle || pointer; }
    void Fill() const { std::memset(Bytes(), fill, size); }
    bool IsWhole() const
    {
        for (U_u64 i = 0; i < size; ++i)
        {
            if (Bytes()[i] != fill)
                return false;
        }
        return true;
    }
    void Free() const
    {
        if (handle)
            U_FreeHandle(handle);
        else
            U_FreePtr(pointer);
    }
};

template <class Body> void OnThreads(int count, Body body)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back([&body, i] { body(i); });
    for (std::thread& thread : threads)
        thread.join();
}
} // namespace

TEST_F(Heap, KeepsContentsWhileThreadsHammerIt)
{
    const U_u64 before = InUse();
    // Blocks lie here for any thread to check, resize and free.
    struct Place
    {
        std::mutex lock; // guards the block
        Block block = {};
    };
    std::vector<Place> places(64);
    std::atomic<int> damaged(0);
    OnThreads(4, [&](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        for (int i = 0; i < 5000; ++i)
        {
            Place& place = places[random() % places.size()];
            std::lock_guard<std::mutex> guard(place.lock);
            Block& block = place.block;
            if (block.IsHeld())
            {
                damaged += !block.IsWhole();
                if (block.handle && random() % 2)
                {
                    const U_u64 size = random() % 6000;
                    ASSERT_EQ(U_ResizeHandle(1, size, nullptr, &block.handle), 0);
                    block.size = std::min(block.size, size);
                    damaged += !block.IsWhole();
                    block.size = size;
                    block.Fill();
                    continue;
                }
                block.Free();
                block = Block();
                continue;
            }
            block.size = random() % 3000;
            block.fill = static_cast<unsigned char>(random());
            if (random() % 2)
                block.handle = U_AllocateHandleQuiet(block.size);
            else
                block.pointer = U_AllocatePtr(1, "hammered", block.size);
            ASSERT_TRUE(block.IsHeld());
            block.Fill();
        }
    });
    for (Place& place : places)
    {
        if (place.block.IsHeld())
        {
            damaged += !place.block.IsWhole();
            place.block.Free();
        }
    }
    EXPECT_EQ(damaged, 0);
    EXPECT_EQ(InUse(), before);
}

TEST_F(Heap, ReportsAgainstItsBaselineWhileOthersGoOn)
{
    MEM_HeapRef heap = MEM_NewHeap();
    void* kept = MEM_NewPtrDebug(heap, 100, "kept", nullptr, 0);
    MEM_SetBaseline(heap);
    void** more = MEM_NewHandle(heap, 50);
    mLog.Clear();
    std::atomic<bool> stop(false);
    std::thread other([&] {
        while (!stop)
            U_FreePtr(U_AllocatePtrQuiet(100)); // in another heap, in the same slabs
    });
    MEM_Report(heap, 3);
    stop = true;
    other.join();
    MEM_DisposeHandle(heap, more);
    MEM_Report(heap, 4);
    EXPECT_EQ(mLog.Texts("MEM_Report"),
              (std::vector<std::string>{
                  "3: 2 blocks, 150 bytes; since the baseline +1 blocks, +50 bytes",
                  "4: 1 blocks, 100 bytes; since the baseline +0 blocks, +0 bytes"}));
    MEM_DisposePtr(heap, kept);
    MEM_DumpLeaks(heap);
    EXPECT_EQ(MEM_NewHeap(), heap) << "an empty one is given out again";
    MEM_DumpLeaks(heap);
}

TEST_F(Heap, MasterPointersFreedElsewhereAreUsedAgain)
{
    const U_u64 before = InUse();
    std::set<void**> handles;
    std::size_t settled = 0;
    for (int round = 0; round < 40; ++round)
    {
        std::vector<void**> blocks(5000);
        for (void**& block : blocks)
            handles.insert(block = U_AllocateHandleQuiet(64));
        std::thread([&] {
            for (void** block : blocks)
                U_FreeHandle(block);
        }).join();
        if (round == 10)
            settled = handles.size();
    }
    EXPECT_EQ(InUse(), before);
    EXPECT_LT(handles.size(), settled + 5000);
}

TEST_F(Heap, BlocksOutliveTheirThread)
{
    const U_u64 before = InUse();
    std::vector<Block> blocks;
    for (int round = 0; round < 20; ++round)
    {
        std::thread([&] {
            for (U_u64 size : {10, 500, 100000})
            {
                const unsigned char fill = static_cast<unsigned char>(blocks.size());
                blocks.push_back({U_AllocateHandleQuiet(size), nullptr, size, fill});
                blocks.back().Fill();
            }
        }).join(); // the next thread may go on with what this one kept
    }
    U_u64 bytes = 0;
    for (const Block& block : blocks)
    {
        EXPECT_TRUE(block.IsWhole());
        bytes += block.size;
    }
    EXPECT_EQ(InUse(), before + bytes);
    for (const Block& block : blocks)
        block.Free();
    EXPECT_EQ(InUse(), before);
}

TEST_F(Heap, NamesAreKeptCutAtACharacter)
{
    const std::string longName = std::string(62, 'n') + "\xC3\xA9" + "rest";
    MEM_HeapRef heap = MEM_NewHeap();
    void* leak = MEM_NewPtrDebug(heap, 5, longName.c_str(), nullptr, 0);
    void** unnamed = MEM_NewHandle(heap, 6);
    mLog.Clear();
    MEM_DumpLeaks(heap);
    EXPECT_EQ(mLog.Texts("MEM_DumpLeaks"),
              (std::vector<std::string>{"(no name): 1 blocks, 6 bytes",
                                        std::string(62, 'n') + ": 1 blocks, 5 bytes",
                                        "left in the heap: 2 blocks, 11 bytes"}));
    MEM_DisposePtr(heap, leak);
    MEM_DisposeHandle(heap, unnamed);
}

TEST_F(Heap, ThePoolServesManyThreads)
{
    const U_u64 before = InUse();
    OnThreads(4, [&](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        for (int i = 0; i < 1000; ++i)
        {
            const U_u64 size = 1 + random() % 200000;
            unsigned char* block =
                static_cast<unsigned char*>(U_AllocateRecycledPtr(1, nullptr, size));
            ASSERT_TRUE(block);
            block[0] = block[size - 1] = static_cast<unsigned char>(number);
            if (i % 16 == 0)
                U_PurgeRecycledMemory(random() % 500000);
            EXPECT_EQ(block[0], number);
            EXPECT_EQ(block[size - 1], number);
            U_FreeRecycledPtr(block);
        }
    });
    U_PurgeRecycledMemory(~0ull);
    EXPECT_EQ(U_GetRecycledMemorySize(), 0u);
    EXPECT_EQ(InUse(), before);
}
