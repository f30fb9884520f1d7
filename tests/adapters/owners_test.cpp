// Owners: their blocks are freed once, and keep their data over a failed resize. BornLibrary
// fails a test that leaves a block in the heap.

#include <u/cpp/owners.h>

#include <cstring>

#include <u/cpp/life.h>

#include "U_Threads.h"
#include "tests/adapters/Thrown.h"
#include "tests/support/Hogs.h"

namespace
{
typedef Hogs CppOwners;

void FailAllBlocks()
{
    platform::SetHeapFailure([](unsigned long long) { return true; });
}

// The same steps for the owners whose address of the data is As.
template <class OwnerType> void MoveAndReset(std::function<OwnerType()> make)
{
    OwnerType first = make();
    ASSERT_TRUE(first);
    first.template As<char>()[99] = 'a';
    OwnerType second(std::move(first));
    EXPECT_FALSE(first);
    EXPECT_EQ(second.template As<char>()[99], 'a');
    first = make();
    first = std::move(second); // frees the block that `first` had
    EXPECT_EQ(first.template As<char>()[99], 'a');
    second = OwnerType(first.Release());
    EXPECT_FALSE(first);
    EXPECT_EQ(second.template As<char>()[99], 'a');
    second.Reset(make().Release());
    second.Reset();
    EXPECT_FALSE(second);
    second.Reset();
}

// A resize that fails keeps the data, a later resize moves the data.
template <class OwnerType> void Resize(OwnerType owner, const std::function<void()>& fail)
{
    std::memset(owner.template As<char>(), 7, 100);
    fail();
    EXPECT_EQ(Thrown([&] { owner.Resize(kLocation, nullptr, 9000); }), 4);
    EXPECT_EQ(owner.Size(), 100u);
    platform::SetHeapFailure({});
    owner.Resize(kLocation, nullptr, 9000);
    EXPECT_EQ(owner.Size(), 9000u);
    EXPECT_EQ(owner.template As<char>()[99], 7);
}
} // namespace

TEST_F(CppOwners, MoveTheirBlockAndFreeItOnce)
{
    MoveAndReset<U::cpp::Pointer>([] { return U::cpp::Pointer::Allocate(1, "p", 100); });
    MoveAndReset<U::cpp::Handle>([] { return U::cpp::Handle::Allocate(1, "h", 100); });
    MoveAndReset<U::cpp::RecycledPointer>(
        [] { return U::cpp::RecycledPointer::Allocate(1, "r", 100); });
    MoveAndReset<U::cpp::ToolboxHandle>([] { return U::cpp::ToolboxHandle::Allocate(100); });
    EXPECT_EQ(U::cpp::Pointer::AllocateClear(1, "p", 100).As<char>()[99], 0);
    EXPECT_EQ(U::cpp::Handle::AllocateClear(1, "h", 100).As<char>()[99], 0);
}

TEST_F(CppOwners, AFailedResizeKeepsTheBlock)
{
    Resize(U::cpp::Pointer::Allocate(1, nullptr, 100), FailAllBlocks);
    Resize(U::cpp::Handle::Allocate(1, nullptr, 100), FailAllBlocks);
    U::cpp::Pointer grown;
    grown.Resize(1, nullptr, 10);
    EXPECT_EQ(grown.Size(), 10u);
    EXPECT_EQ(Thrown([] { U::cpp::Handle().Resize(1, nullptr, 10); }), 3);
}

TEST_F(CppOwners, ARefusedBlockIsABadAllocOrAnEmptyOwner)
{
    FailAllBlocks();
    const std::function<void()> kAllocations[] = {
        [] { U::cpp::Pointer::Allocate(1, nullptr, 10); },
        [] { U::cpp::Pointer::AllocateClear(1, nullptr, 10); },
        [] { U::cpp::Handle::Allocate(1, nullptr, 10); },
        [] { U::cpp::Handle::AllocateClear(1, nullptr, 10); },
        [] { U::cpp::RecycledPointer::Allocate(1, nullptr, U_u64(1) << 40); },
        [this] { U::cpp::HogHandle::Allocate(mId, 1, nullptr, 10, U_Hog_Quiet); },
        [] { U::cpp::ToolboxHandle::Allocate(U_u64(1) << 32); },
    };
    for (const auto& allocation : kAllocations)
        EXPECT_EQ(Thrown(allocation), 4) << &allocation - kAllocations;
    EXPECT_FALSE(U::cpp::Pointer(U_AllocatePtrQuiet(10)));
}

TEST_F(CppOwners, AHogHandleIsCountedAndKeepsItsPlaceWhileLocked)
{
    {
        U::cpp::HogHandle hog = U::cpp::HogHandle::Allocate(mId, 1, "a hog", 100, U_Hog_Clear);
        EXPECT_EQ(Count(), Stats(1, 100));
        {
            const U::cpp::HogLock lock(hog);
            U::cpp::HogLock inner(hog);
            const U::cpp::HogLock moved(std::move(inner));
            EXPECT_EQ(moved.As<char>(), lock.As<char>());
            EXPECT_EQ(lock.As<char>()[99], 0);
            EXPECT_EQ(Thrown([&] { hog.Resize(1, "a hog", 200); }), 1);
        }
        hog.Resize(1, "a hog", 200);
        EXPECT_EQ(hog.Size(), 200u);
        const U::cpp::HogHandle next(std::move(hog));
        EXPECT_EQ(Count(), Stats(1, 200));
    }
    EXPECT_EQ(Count(), Stats(0, 0));
    EXPECT_EQ(Thrown([] { U::cpp::HogHandle::Allocate(1, 1, "a hog", 10); }), 2);
    EXPECT_EQ(Thrown([] { U::cpp::HogLock lock{U::cpp::HogHandle()}; }), 2);
}

TEST_F(CppOwners, OutParametersBecomeOwned)
{
    const U::cpp::Handle source = U::cpp::Handle::AllocateClear(1, "source", 50);
    U::cpp::Handle copy = U::cpp::Handle::Allocate(1, "old", 10);
    U::cpp::Check(U_DuplicateHandle(source.Get(), "copy", U::cpp::Out(copy)));
    EXPECT_EQ(copy.Size(), 50u);
    U::cpp::ToolboxHandle outside;
    U::cpp::Check(U_DuplicateHandleToPlatform(source.Get(), "copy", U::cpp::Out(outside)));
    EXPECT_EQ(outside.Size(), 50u);
    FailAllBlocks();
    EXPECT_EQ(
        Thrown([&] { U::cpp::Check(U_DuplicateHandle(source.Get(), nullptr, U::cpp::Out(copy))); }),
        4);
    EXPECT_FALSE(copy);
}

TEST(CppLife, BirthAndDeathHappenOnceAndHaveAStatus)
{
    const CapturedLog log;
    const CapturedAlerts alerts;
    {
        U::cpp::Life refused(nullptr);
        EXPECT_FALSE(refused);
        EXPECT_EQ(refused.Status(), 3);
        EXPECT_EQ(refused.End(), 3);
        EXPECT_EQ(refused.Error(), std::errc::invalid_argument);
        EXPECT_EQ(refused.Error().category(), U::cpp::StatusCategory());
    }
    {
        U::cpp::Life life("Test Host");
        ASSERT_TRUE(life);
        EXPECT_TRUE(U_IsOnMainThread());
        EXPECT_FALSE(U_Die());
        U::cpp::StatusError error(U_Err_OutOfRange);
        EXPECT_EQ(U_TranslateAndReportException(error), U_Err_OutOfRange);
        EXPECT_EQ(life.End(), 0);
        EXPECT_FALSE(life);
        EXPECT_FALSE(U_IsOnMainThread());
        EXPECT_TRUE(U_Die()) << "the record is gone";
        U::cpp::Life next("Test Host"); // not ended by the first one's destructor
        EXPECT_EQ(life.End(), 0);
        EXPECT_FALSE(U_Die());
    }
    EXPECT_TRUE(U_Die());
}
