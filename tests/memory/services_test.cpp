#include <cstring>
#include <new>
#include <tuple>

#include <gmock/gmock.h>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_MemServices.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/System.h"

namespace
{
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

struct Tracked : U_MemTrackedObject
{
    char mBytes[100000];
};

struct Throwing : Tracked
{
    Throwing() { throw 7; }
};

krobase::utility::Guid Id(unsigned char number)
{
    krobase::utility::Guid id;
    id.mBytes[0] = number;
    return id;
}

class MemServices : public BornLibrary
{
protected:
    void TearDown() override
    {
        for (unsigned char number = 0; number < 40; ++number)
            U_UnInstallExternalMemoryManager(Id(number));
        BornLibrary::TearDown();
    }

    static void Install(unsigned char number, size_t size)
    {
        U_InstallExternalMemoryManager(Id(number), [size] { return size; });
    }
};
} // namespace

TEST_F(MemServices, TrackedObjectsCountAsUseUntilTheyAreFreed)
{
    const U_u64 before = InUse();
    const auto taken = [&] { return InUse() - before; };
    Tracked* const one = new Tracked;
    EXPECT_GE(taken(), sizeof(Tracked));
    Tracked* const named = new (0x170001, "Named") Tracked;
    Tracked* const three = new Tracked[3];
    Tracked* const two = new (0x170001, "Two") Tracked[2];
    EXPECT_GE(taken(), 7 * sizeof(Tracked));
    const U_u64 all = taken();
    Tracked* const again = new (one) Tracked; // in place
    EXPECT_EQ(again, one);
    EXPECT_EQ(taken(), all);
    delete one;
    delete named;
    delete[] three;
    delete[] two;
    EXPECT_THROW(new Throwing, int);
    EXPECT_THROW(new (0x170001, "Thrown") Throwing, int);
    U_MemTrackedObject::TrackedDelete(nullptr);
    EXPECT_EQ(taken(), 0u);
}

TEST_F(MemServices, ARefusedObjectIsReportedByNameAndThrows)
{
    // Without a name nothing is reported to the user.
    const std::tuple<void (*)(), const char*, const char*> rows[] = {
        {[] { delete[] new Tracked[2]; }, "U_MemTrackedObject", ""},
        {[] { U_MemTrackedObject::TrackedNew(10, true); }, "U_MemTrackedObject", ""},
        {[] { delete[] new (0x170002, "Two") Tracked[2]; }, "Two", "( 23 :: 2 "},
        {[] { delete new (0x170001, nullptr) Tracked; }, nullptr, ""},
    };
    platform::SetHeapFailure([](U_u64) { return true; });
    for (const auto& [allocate, name, location] : rows)
    {
        SCOPED_TRACE(name ? name : "quiet");
        mAlerts.Clear();
        try
        {
            allocate();
            ADD_FAILURE();
        }
        catch (const std::bad_alloc& failure)
        {
            EXPECT_STREQ(failure.what(), "bad allocation");
        }
        if (!name)
            EXPECT_TRUE(mAlerts.Texts().empty());
        else
            EXPECT_THAT(mAlerts.Texts(),
                        ElementsAre(AllOf(HasSubstr(" / " + std::string(name) + ")"),
                                          HasSubstr(location))));
    }
}

TEST_F(MemServices, ManagersCountAsUseButNotAsTheLibrarysOwn)
{
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 0u);
    const U_u64 use = InUse();
    const U_u64 own = Stat(U_MemStat_InUseByLibrary);
    Install(1, 1000);
    Install(2, 2000);
    Install(1, 5); // keeps the first
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 3000u);
    EXPECT_EQ(InUse(), use + 3000);
    EXPECT_EQ(Stat(U_MemStat_InUseByLibrary), own);

    // Managers count against the limits.
    SetLimitsAboveUse(10 * kMiB, 20 * kMiB);
    Install(3, 19 * kMiB);
    EXPECT_FALSE(CanAllocate(2 * kMiB));

    for (unsigned char number = 4; number < 40; ++number)
        Install(number, 1);
    const unsigned char uninstalled[] = {3, 1, 9};
    for (const unsigned char number : uninstalled)
    {
        const ScFailingNew failing(1);
        U_UnInstallExternalMemoryManager(Id(number));
    }
    Install(9, 7); // replaces a manager that was uninstalled without memory
    const ScFailingNew failing(1);
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 2000u + 35 + 7);
    EXPECT_FALSE(failing.HasFailed()) << "a measurement allocates";
}

TEST_F(MemServices, UseByTheLibraryStopsAboveZero)
{
    U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, kMiB));
    // A usage figure without the managers.
    static long long sBesidePool = 0;
    const TOLV_U_Callbacks callbacks = {
        [] { return U_GetRecycledMemorySize() + static_cast<unsigned long long>(sBesidePool); },
        nullptr, nullptr};
    TOLV_Install_U_Callback(&callbacks);
    const std::tuple<long long, size_t, U_u64> rows[] = {
        {1000, 998, 2}, {1000, 1000, 0}, {1000, 1001, 1}, {0, 0, 0}, {-1000, 0, 1}};
    for (const auto& [besidePool, managers, expected] : rows)
    {
        sBesidePool = besidePool;
        Install(1, managers);
        EXPECT_EQ(Stat(U_MemStat_InUseByLibrary), expected);
        U_UnInstallExternalMemoryManager(Id(1));
    }
}

TEST_F(MemServices, ManagersMayChangeTheTableDuringAMeasurement)
{
    std::string asked;
    U_InstallExternalMemoryManager(Id(2), [&asked]() -> size_t {
        asked += "2";
        U_UnInstallExternalMemoryManager(Id(2));
        U_UnInstallExternalMemoryManager(Id(3)); // is called once more
        Install(4, 40);
        return 2;
    });
    U_InstallExternalMemoryManager(Id(3), [&asked]() -> size_t {
        asked += "3";
        return 30;
    });
    U_InstallExternalMemoryManager(Id(1), [&asked]() -> size_t {
        asked += "1";
        return 100;
    });
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 132u);
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 140u);
    EXPECT_EQ(asked, "1231");
}

TEST_F(MemServices, AManagerMayCallTheLibraryInItsCopyAndDestructor)
{
    struct Caller
    {
        Caller() = default;
        Caller(const Caller&) { U_UnInstallExternalMemoryManager(Id(9)); }
        ~Caller() { U_UnInstallExternalMemoryManager(Id(5)); }
        size_t operator()() const { return 1; }
    };
    U_InstallExternalMemoryManager(Id(1), Caller());
    U_InstallExternalMemoryManager(Id(1), Caller()); // destroyed at once
    U_UnInstallExternalMemoryManager(Id(1));
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 0u);
}

TEST_F(MemServices, SystemFiguresFollowWhatTheProcessTouches)
{
    U_MemoryStats before = {};
    EXPECT_EQ(U_GetSystemMemoryStats(&before), 0);
    const std::size_t kTouched = 64 * kMiB;
    void* const block = U_AllocatePtrClear(0, "Touched", kTouched);
    std::memset(block, 1, kTouched);
    const U_i64 tracked = static_cast<U_i64>(MEM_GetMemUsage());
    U_AccountSystemAllocation(-tracked); // so that all resident bytes are slop
    TOLV_SyncMemUsageWithOS();
    U_AccountSystemAllocation(tracked);
    Install(1, 4242);
    U_MemoryStats after;
    std::memset(&after, 0xEE, sizeof(after));
    EXPECT_EQ(U_GetSystemMemoryStats(&after), 0);
    U_FreePtr(block);

    EXPECT_GE(after.mResident, before.mResident + kTouched * 9 / 10);
    EXPECT_GE(after.mVirtual, before.mVirtual + kTouched * 9 / 10);
    EXPECT_TRUE(after.mFaults > before.mFaults || IsWine()) << "Wine counts no faults";
    EXPECT_GE(after.mCalcMem, before.mCalcMem + kTouched);
    EXPECT_EQ(after.mCalcU, after.mCalcMem + U_GetRecycledMemorySize() + 4242);
    U_u64 slop = 0;
    TOLV_GetSlop(&slop);
    EXPECT_GT(slop, 0u);
    EXPECT_EQ(after.mSlop, slop);
    for (const U_u64 unknown :
         {after.mPageins, after.mCalc, after.mGlobFree, after.mGlobActive, after.mGlobInactive,
          after.mGlobWired, after.mGlobFaults, after.mGlobPageins, after.mGlobPageouts})
        EXPECT_EQ(unknown, 0u);
}

TEST_F(MemServices, AReportComparesTheHeapWithTheBaseline)
{
    U_MEM_SetBaseline();
    void* const block = U_AllocatePtrQuiet(1000);
    U_MEM_Report(17);
    U_FreePtr(block);
    EXPECT_THAT(
        mLog.Texts("MEM_Report"),
        ElementsAre(AllOf(testing::StartsWith("17: "),
                          testing::EndsWith(" bytes; since the baseline +1 blocks, +1000 bytes"))));
}
