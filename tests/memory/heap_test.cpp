// The heap on many threads at once, and without memory.

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"
#include "tests/support/OnThreads.h"

namespace
{
typedef BornLibrary Heap;

// A block that any thread may check and resize.
struct SharedBlock
{
    std::mutex lock; // guards the contents
    std::string contents;
    void** handle = U_AllocateHandleQuiet(0);

    bool IsWhole() const { return std::memcmp(*handle, contents.data(), contents.size()) == 0; }
};

// Uses the heap while the C library has no memory. Returns the number of wrong results.
int FaultsWithoutMemory()
{
    const unsigned long long kLarge = 1 << 20;
    const MEM_HeapRef heap = MEM_NewHeap();
    void* const kept = MEM_NewPtrDebug(heap, 1000, "kept", nullptr, 0);
    void** const handle = MEM_NewHandle(heap, 1000);
    std::vector<void*> spare;
    for (int i = 0; i < 50; ++i)
        spare.push_back(MEM_NewPtrDebug(heap, 200, "spare", nullptr, 0));
    for (void* block : spare)
        MEM_DisposePtr(heap, block);
    const unsigned long long before = MEM_GetMemUsage();
    int faults = 0;
    {
        const ScNoMemory noMemory;
        faults += MEM_NewPtrDebug(heap, kLarge, "large", nullptr, 0) != nullptr;
        faults += MEM_NewHandle(heap, kLarge) != nullptr;
        faults += MEM_ResizePtr(heap, kept, kLarge) != nullptr;
        faults += MEM_SetHandleSize(heap, handle, kLarge) == 0;
        // The thread's cached blocks were freed for the attempts, so a small block fits.
        void* const small = MEM_NewPtrDebug(heap, 200, "small", nullptr, 0);
        faults += !small;
        MEM_DisposePtr(heap, small);
    }
    faults += MEM_GetPtrSize(heap, kept) != 1000 || MEM_GetHandleSize(heap, handle) != 1000;
    faults += MEM_GetMemUsage() != before;
    faults += !MEM_NewPtrDebug(heap, kLarge, "large", nullptr, 0);
    return faults;
}
} // namespace

TEST(HeapDeathTest, WithoutMemoryTheHeapRefusesAndLosesNoBlock)
{
    SKIP_UNLESS_MEMORY_CAN_BE_LIMITED();
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::exit(FaultsWithoutMemory()), testing::ExitedWithCode(0), "");
}

TEST_F(Heap, BlocksKeepTheirContentsWhileThreadsResizeThem)
{
    const U_u64 before = InUse();
    std::vector<SharedBlock> blocks(64);
    std::atomic<int> damaged(0);
    OnThreads(4, [&](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        for (int i = 0; i < 5000; ++i)
        {
            SharedBlock& shared = blocks[random() % blocks.size()];
            const std::lock_guard<std::mutex> guard(shared.lock);
            const std::size_t size = random() % (i % 100 ? 6000 : 1000000);
            EXPECT_EQ(U_ResizeHandle(1, size, nullptr, &shared.handle), 0);
            shared.contents.resize(std::min(size, shared.contents.size()));
            damaged += !shared.IsWhole();
            shared.contents.assign(size, static_cast<char>(random()));
            std::memcpy(*shared.handle, shared.contents.data(), size);
        }
    });
    for (const SharedBlock& shared : blocks)
    {
        damaged += !shared.IsWhole();
        U_FreeHandle(shared.handle);
    }
    EXPECT_EQ(damaged, 0);
    EXPECT_EQ(InUse(), before);
}

TEST_F(Heap, MasterPointersFreedOnOtherThreadsAreReused)
{
    if (MEM_KeepsOrigins)
        GTEST_SKIP() << "the checked heap keeps the slots of freed handles";
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

TEST_F(Heap, AnExceptionOfALogSinkHidesNoOtherLineOfTheLeaks)
{
    ASSERT_TRUE(platform::SetHeapChecks("stacks=0"));
    const MEM_HeapRef heap = MEM_NewHeap();
    void* const leaks[] = {MEM_NewPtrDebug(heap, 16, "first", nullptr, 0),
                           MEM_NewPtrDebug(heap, 16, "second", nullptr, 0)};
    Texts tags;
    platform::SetLogSink([&](int, const char*, const char* tag, const char*) {
        tags.push_back(tag);
        if (tags.back() == "HEAP_CHECK")
            throw std::runtime_error("of the sink");
    });
    EXPECT_NO_THROW(MEM_DumpLeaks(heap));
    platform::SetLogSink([](int, const char*, const char*, const char*) {});
    EXPECT_THAT(tags, testing::ElementsAre("HEAP_CHECK", "HEAP_CHECK", "MEM_DumpLeaks",
                                           "MEM_DumpLeaks", "MEM_DumpLeaks"));
    for (void* const leak : leaks)
        MEM_DisposePtr(heap, leak);
    platform::SetHeapChecks(nullptr); // those of the environment
}

// A name is looked up by its address first.
TEST_F(Heap, ABlockHasTheNameThatItsAddressHadThen)
{
    const MEM_HeapRef heap = MEM_NewHeap();
    const std::string kLong(70, 'n');
    char name[100] = "";
    std::vector<void*> blocks;
    for (const std::string& now : {std::string("first"), std::string("firs"), kLong,
                                   std::string("first"), std::string("first of all"), kLong})
    {
        std::strcpy(name, now.c_str());
        blocks.push_back(MEM_NewPtrDebug(heap, 16, name, nullptr, 0));
    }
    MEM_DumpLeaks(heap);
    EXPECT_THAT(
        mLog.Texts("MEM_DumpLeaks"),
        testing::IsSupersetOf<std::string>({"firs: 1 blocks, 16 bytes", "first: 2 blocks, 32 bytes",
                                            "first of all: 1 blocks, 16 bytes",
                                            kLong.substr(0, 63) + ": 2 blocks, 32 bytes"}));
    mLog.Clear();
    for (void* block : blocks)
        MEM_DisposePtr(heap, block);
    MEM_DumpLeaks(heap);
}
