// Containers under the budget, and pins against the purge callback. BornLibrary fails a test that
// leaves a block in the heap.

#include <u/cpp/memory.h>

#include <atomic>
#include <cstring>
#include <list>
#include <map>

#include <u/cpp/owners.h>

#include "tests/adapters/Thrown.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/OnThreads.h"
#include "tests/support/PurgeHost.h"

namespace
{
typedef BornLibrary CppMemory;

struct alignas(64) Line
{
    char mBytes[64];
};
} // namespace

TEST_F(CppMemory, BlocksHaveTheirSizeAndAlignmentAndReturnToTheirFamily)
{
    const std::size_t kRecycledFrom = 1024;
    for (const std::size_t from : {U::cpp::kNeverRecycled, kRecycledFrom})
    {
        U::cpp::BudgetResource resource(1, nullptr, from);
        for (const std::size_t size : {0, 1, 1000, 1023, 1024, 70000})
        {
            for (std::size_t alignment = 1; alignment <= 4096; alignment *= 2)
            {
                U_PurgeRecycledMemory(~U_u64(0));
                const U_u64 before = InUse();
                void* const block = resource.allocate(size, alignment);
                EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u)
                    << size << ' ' << alignment;
                std::memset(block, 0xEE, size);
                EXPECT_GE(InUse(), before + size);
                resource.deallocate(block, size, alignment);
                const std::size_t whole = size + (alignment > 16 ? alignment : 0);
                EXPECT_EQ(U_GetRecycledMemorySize() != 0, whole >= from) << size;
                U_PurgeRecycledMemory(~U_u64(0));
                EXPECT_EQ(InUse(), before);
            }
        }
    }
}

TEST_F(CppMemory, StandardContainersLiveUnderTheBudget)
{
    const U_u64 before = InUse();
    U::cpp::BudgetResource resource(1, "containers", 4096);
    U::cpp::BudgetResource equal(2, "others", 4096);
    U::cpp::BudgetResource different(2, "others");
    EXPECT_TRUE(resource.is_equal(equal));
    EXPECT_FALSE(resource.is_equal(different));
    {
        std::pmr::map<int, std::pmr::string> texts(&resource);
        for (int i = 0; i < 100; ++i)
            texts[i] = std::string(1000, 'x');
        EXPECT_GE(InUse(), before + 100 * 1000);
        std::vector<Line, U::cpp::BudgetAllocator<Line, 4096>> lines(
            100, U::cpp::BudgetAllocator<Line, 4096>(1, "lines"));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(lines.data()) % 64, 0u);
        std::list<int, U::cpp::BudgetAllocator<int>> numbers = {1, 2, 3};
        std::list<int, U::cpp::BudgetAllocator<int>> more = {4};
        numbers.splice(numbers.end(), more);
        EXPECT_EQ(numbers.size(), 4u);
    }
    U_PurgeRecycledMemory(~U_u64(0));
    EXPECT_EQ(InUse(), before);
}

TEST_F(CppMemory, ARefusedBlockThrowsAfterThePurgeRequest)
{
    U::cpp::BudgetResource resource(1, nullptr);
    U::cpp::BudgetAllocator<double> allocator(1, nullptr);
    SetLimitsAboveUse(2 * kMiB, 4 * kMiB);
    const ScPurgeHost host;
    std::pmr::vector<char> bytes(&resource);
    EXPECT_EQ(Thrown([&] { bytes.resize(8 * kMiB); }), 4);
    EXPECT_FALSE(host.mRequests.empty());
    EXPECT_EQ(Thrown([&] { static_cast<void>(allocator.allocate(kMiB)); }), 4);
    volatile std::size_t most = U::cpp::kNeverRecycled; // unknown to the compiler's warnings
    EXPECT_EQ(Thrown([&] { static_cast<void>(allocator.allocate(most / 8 + 1)); }), 4);
    EXPECT_EQ(Thrown([&] { static_cast<void>(resource.allocate(most - 63, 64)); }), 4);
    EXPECT_EQ(Thrown([&] { static_cast<void>(resource.allocate(most - 64, 64)); }), 4);
}

TEST_F(CppMemory, ThePurgeCallbackSparesThePinnedBlock)
{
    typedef U::cpp::CachedBlock<U::cpp::Pointer> Cached;
    Cached first(U::cpp::Pointer::Allocate(1, "first", kMiB));
    Cached second(U::cpp::Pointer::Allocate(1, "second", kMiB));
    SetLimitsAboveUse(kMiB / 2, 8 * kMiB);
    const ScPurgeHost host([&](bool*) {
        first.Purge();
        second.Purge();
    });
    auto pin = first.Pin();
    ASSERT_TRUE(pin);
    pin->As<char>()[0] = 'a';
    auto inner = first.Pin();
    const U::cpp::Pointer other = U::cpp::Pointer::Allocate(1, "other", kMiB);
    EXPECT_FALSE(second.Pin());
    EXPECT_FALSE(second.Purge()) << "there is no block";
    EXPECT_EQ(pin->As<char>()[0], 'a');
    pin = std::move(inner);
    EXPECT_FALSE(first.Purge()) << "one pin is left";
    pin = {};
    EXPECT_TRUE(first.Purge());

    U::cpp::Pointer again = U::cpp::Pointer::Allocate(1, "again", 10);
    U::cpp::Pointer rest = U::cpp::Pointer::Allocate(1, "rest", 10);
    EXPECT_TRUE(first.Refill(std::move(again)));
    EXPECT_FALSE(first.Refill(std::move(rest)));
    EXPECT_TRUE(rest) << "a refused block stays with its owner";
    EXPECT_TRUE(first.Pin());
}

TEST_F(CppMemory, APinAndAPurgeAtTheSameTimeExcludeEachOther)
{
    const int kPins = 20000;
    const int kPinners = 2;
    U::cpp::CachedBlock<U::cpp::Pointer> cached;
    std::atomic<int> pinned(0), purged(0), damaged(0);
    OnThreads(1 + kPinners, [&](int number) {
        if (number == 0)
        {
            while (pinned < kPins * kPinners)
            {
                U::cpp::Pointer next = U::cpp::Pointer::AllocateClear(1, "block", 64);
                purged += cached.Purge();
                cached.Refill(std::move(next));
            }
            return;
        }
        for (int pins = 0; pins < kPins;)
        {
            if (const auto pin = cached.Pin())
            {
                // The bytes of a block that a purge frees meanwhile change.
                auto* const word = pin->As<std::atomic<long long>>() + number;
                const long long before = word->fetch_add(1);
                damaged += word->load() != before + 1;
                ++pins;
                ++pinned;
            }
        }
    });
    EXPECT_EQ(damaged, 0);
    EXPECT_GT(purged, 0);
    EXPECT_TRUE(cached.Purge()) << "no pin is left";
}
