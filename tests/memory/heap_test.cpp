// The heap itself, on many threads at once.

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/OnThreads.h"

namespace
{
typedef BornLibrary Heap;

struct Block
{
    void** handle;
    void* pointer;
    bool isRecycled;
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
        if (isRecycled)
            U_FreeRecycledPtr(pointer);
        else
            U_FreePtr(pointer);
        U_FreeHandle(handle);
    }
};
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
            block.isRecycled = random() % 3 == 0;
            if (block.isRecycled)
                block.pointer = U_AllocateRecycledPtr(1, nullptr, block.size);
            else if (random() % 2)
                block.handle = U_AllocateHandleQuiet(block.size);
            else
                block.pointer = U_AllocatePtr(1, "hammered", block.size);
            if (random() % 16 == 0)
                U_PurgeRecycledMemory(random() % 10000);
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
    U_PurgeRecycledMemory(~0ull);
    EXPECT_EQ(InUse(), before);
}

TEST_F(Heap, ReportsAgainstItsBaseline)
{
    MEM_HeapRef heap = MEM_NewHeap();
    void* kept = MEM_NewPtrDebug(heap, 100, "kept", nullptr, 0);
    MEM_SetBaseline(heap);
    void** more = MEM_NewHandle(heap, 50);
    mLog.Clear();
    MEM_Report(heap, 3);
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
