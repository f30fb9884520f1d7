#include "U_MemServices.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <control.h>
#include <sys/resource.h>
#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"

namespace
{
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
        for (unsigned char number = 0; number < 10; ++number)
            U_UnInstallExternalMemoryManager(Id(number));
        BornLibrary::TearDown();
    }

    static void Install(unsigned char number, size_t size)
    {
        U_InstallExternalMemoryManager(Id(number), [size] { return size; });
    }

    // What std::bad_alloc said.
    template <class Allocate> static std::string Refused(Allocate allocate)
    {
        platform::SetHeapFailure([](U_u64) { return true; });
        std::string said;
        try
        {
            allocate();
        }
        catch (const std::bad_alloc& failure)
        {
            said = failure.what();
        }
        platform::SetHeapFailure({});
        return said;
    }
};
} // namespace

TEST_F(MemServices, TrackedObjectsCountAsUseUntilTheyGo)
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
    Tracked::operator delete(nullptr);
    U_MemTrackedObject::TrackedDelete(nullptr);
    EXPECT_EQ(taken(), 0u);
}

TEST_F(MemServices, TrackedBlockIsZeroedIfAskedFor)
{
    const std::size_t kSize = 5000;
    void* block = U_MemTrackedObject::TrackedNew(kSize, false);
    std::memset(block, 0xFF, kSize);
    U_MemTrackedObject::TrackedDelete(block);
    block = U_MemTrackedObject::TrackedNew(kSize, true);
    EXPECT_EQ(std::vector<char>(kSize),
              std::vector<char>(static_cast<char*>(block), static_cast<char*>(block) + kSize));
    U_MemTrackedObject::TrackedDelete(block);
}

TEST_F(MemServices, RefusedObjectIsReportedByNameAndThrows)
{
    const struct
    {
        void (*allocate)();
        const char* name; // null: the user hears nothing
        int place = 0;
    } rows[] = {
        {[] { delete new Tracked; }, "U_MemTrackedObject"},
        {[] { delete[] new Tracked[2]; }, "U_MemTrackedObject"},
        {[] { U_MemTrackedObject::TrackedNew(10, true); }, "U_MemTrackedObject"},
        {[] { delete new (0x170001, "Named") Tracked; }, "Named", 1},
        {[] { delete[] new (0x170002, "Two") Tracked[2]; }, "Two", 2},
        {[] { delete new (0x170001, nullptr) Tracked; }, nullptr},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name ? row.name : "quiet");
        mAlerts.Clear();
        EXPECT_EQ(Refused(row.allocate), "bad allocation");
        const std::vector<std::string> alerts = mAlerts.Texts();
        ASSERT_EQ(alerts.size(), row.name ? 1u : 0u);
        const std::string name = row.name ? " / " + std::string(row.name) + ")" : "";
        const std::string place = "( 23 :: " + std::to_string(row.place) + " ";
        EXPECT_TRUE(alerts.empty() || (alerts[0].find(name) != std::string::npos &&
                                       (!row.place || alerts[0].find(place) != std::string::npos)))
            << alerts[0];
    }
    EXPECT_EQ(Refused([] { U_MemTrackedObject::TrackedNew(~std::size_t(0), true); }),
              "bad allocation");
}

TEST_F(MemServices, ManagersCountAsUseButNotAsTheLibrarysOwn)
{
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 0u);
    const U_u64 use = InUse();
    U_u64 own = 0;
    U_GetMemoryStat(U_MemStat_InUseByLibrary, &own);
    Install(1, 1000);
    Install(2, 2000);
    Install(1, 5); // keeps the first
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 3000u);
    EXPECT_EQ(InUse(), use + 3000);
    U_u64 ownWithManagers = 0;
    U_GetMemoryStat(U_MemStat_InUseByLibrary, &ownWithManagers);
    EXPECT_EQ(ownWithManagers, own);

    // They count against the limits.
    SetLimitsAboveUse(10 * kMiB, 20 * kMiB);
    Install(3, 19 * kMiB);
    EXPECT_EQ(U_AllocatePtrQuiet(2 * kMiB), nullptr);

    const ScFailingNew failing(1); // none of these allocates
    U_UnInstallExternalMemoryManager(Id(3));
    U_UnInstallExternalMemoryManager(Id(1));
    U_UnInstallExternalMemoryManager(Id(9));
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 2000u);
    EXPECT_FALSE(failing.HasFailed());
}

TEST_F(MemServices, UseByTheLibraryStopsAboveZeroUnderManagers)
{
    // A usage figure that doesn't hold the managers.
    const TOLV_U_Callbacks callbacks = {[] { return U_GetRecycledMemorySize() + 1000; }, nullptr,
                                        nullptr};
    TOLV_Install_U_Callback(&callbacks);
    const struct
    {
        size_t managers;
        U_u64 own;
    } rows[] = {{999, 1}, {1000, 0}, {1001, 1}};
    for (const auto& row : rows)
    {
        Install(1, row.managers);
        U_u64 own = 77;
        U_GetMemoryStat(U_MemStat_InUseByLibrary, &own);
        EXPECT_EQ(own, row.own);
        U_UnInstallExternalMemoryManager(Id(1));
    }
}

TEST_F(MemServices, ManagersMayChangeTheTableWhileTheyAreAsked)
{
    std::string asked;
    U_InstallExternalMemoryManager(Id(2), [&asked]() -> size_t {
        asked += "2";
        U_UnInstallExternalMemoryManager(Id(2));
        U_UnInstallExternalMemoryManager(Id(3)); // is asked once more
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

TEST_F(MemServices, FunctionMayCallInWhenItIsCopiedAndGoes)
{
    struct Caller
    {
        Caller() = default;
        Caller(const Caller&) { U_UnInstallExternalMemoryManager(Id(9)); }
        ~Caller() { U_UnInstallExternalMemoryManager(Id(5)); }
        size_t operator()() const { return 1; }
    };
    U_InstallExternalMemoryManager(Id(1), Caller());
    U_InstallExternalMemoryManager(Id(1), Caller()); // goes at once
    Install(5, 5);
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 6u);
    U_UnInstallExternalMemoryManager(Id(1));
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 0u);
}

TEST_F(MemServices, FunctionThatCantBeCopiedIsNotInstalled)
{
    struct Uncopied
    {
        explicit Uncopied(bool* refuses) : mRefuses(refuses) {}
        Uncopied(const Uncopied& other) : mRefuses(other.mRefuses)
        {
            if (*mRefuses)
                throw 7;
        }
        size_t operator()() const { return 1; }
        bool* mRefuses;
    };
    bool refuses = false;
    const boost::function<size_t()> function{Uncopied(&refuses)};
    refuses = true;
    EXPECT_THROW(U_InstallExternalMemoryManager(Id(1), function), int);
    EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), 0u);
}

TEST_F(MemServices, ManyManagersAreMeasuredWithoutMemory)
{
    const unsigned char kMany = 40;
    for (unsigned char number = 0; number < kMany; ++number)
        Install(number, 1);
    {
        const ScFailingNew failing(1);
        EXPECT_EQ(U_GetSizeOfExternalMemoryManagers(), size_t(kMany));
    }
    for (unsigned char number = 0; number < kMany; ++number)
        U_UnInstallExternalMemoryManager(Id(number));
}

TEST_F(MemServices, EmptyManagerMakesMeasurementsThrow)
{
    U_InstallExternalMemoryManager(Id(1), boost::function<size_t()>());
    try
    {
        U_GetSizeOfExternalMemoryManagers();
        ADD_FAILURE();
    }
    catch (const boost::bad_function_call& failure)
    {
        EXPECT_STREQ(failure.what(), "call to empty boost::function");
    }
}

TEST_F(MemServices, ThreadsMeasureWhileManagersComeAndGo)
{
    std::atomic<bool> done(false);
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i)
    {
        threads.emplace_back([&done] {
            while (!done)
            {
                const size_t size = U_GetSizeOfExternalMemoryManagers();
                EXPECT_TRUE(size == 0 || size == 10 || size == 20 || size == 30) << size;
            }
        });
    }
    for (int round = 0; round < 2000; ++round)
    {
        Install(1, 10);
        Install(2, 20);
        U_UnInstallExternalMemoryManager(Id(1));
        U_UnInstallExternalMemoryManager(Id(2));
    }
    done = true;
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(MemServices, SystemFiguresFollowWhatTheProcessTouches)
{
    U_MemoryStats before = {};
    EXPECT_EQ(U_GetSystemMemoryStats(&before), 0);
    const std::size_t kTouched = 64 * kMiB;
    void* const block = U_AllocatePtrClear(0, "Touched", kTouched);
    std::memset(block, 1, kTouched);
    const U_i64 tracked = static_cast<U_i64>(MEM_GetMemUsage());
    U_AccountSystemAllocation(-tracked); // for all that is resident to be slop
    TOLV_SyncMemUsageWithOS();
    U_AccountSystemAllocation(tracked);
    Install(1, 4242);
    U_MemoryStats after;
    std::memset(&after, 0xEE, sizeof(after));
    EXPECT_EQ(U_GetSystemMemoryStats(&after), 0);
    U_FreePtr(block);

    EXPECT_GE(after.mResident, before.mResident + kTouched * 9 / 10);
    EXPECT_GE(after.mVirtual, before.mVirtual + kTouched * 9 / 10);
    EXPECT_GT(after.mFaults, before.mFaults);
    EXPECT_GE(after.mCalcMem, before.mCalcMem + kTouched);
    EXPECT_EQ(after.mCalcU, after.mCalcMem + U_GetRecycledMemorySize() + 4242);
    U_u64 slop = 0;
    TOLV_GetSlop(&slop);
    EXPECT_GT(slop, 0u);
    EXPECT_EQ(after.mSlop, slop);
    for (const U_u64 untold :
         {after.mPageins, after.mCalc, after.mGlobFree, after.mGlobActive, after.mGlobInactive,
          after.mGlobWired, after.mGlobFaults, after.mGlobPageins, after.mGlobPageouts})
        EXPECT_EQ(untold, 0u);
    EXPECT_EQ(U_GetSystemMemoryStats(nullptr), 3);
}

TEST_F(MemServices, LibrarysFiguresAreThereWithoutTheSystems)
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none = {0, limit.rlim_max}; // no file of the system's can be opened
    U_MemoryStats stats;
    std::memset(&stats, 0xEE, sizeof(stats));
    setrlimit(RLIMIT_NOFILE, &none);
    const int result = U_GetSystemMemoryStats(&stats);
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(stats.mFaults, 0u);
    EXPECT_EQ(stats.mResident, 0u);
    EXPECT_EQ(stats.mVirtual, 0u);
    EXPECT_EQ(stats.mCalcMem, MEM_GetMemUsage());
    EXPECT_GT(stats.mCalcU, 0u);
}

TEST_F(MemServices, ReportComparesTheHeapWithTheBaseline)
{
    U_MEM_SetBaseline();
    void* const block = U_AllocatePtrQuiet(1000);
    U_MEM_Report(17);
    U_FreePtr(block);
    const std::vector<std::string> lines = mLog.Texts("MEM_Report");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].compare(0, 4, "17: "), 0);
    EXPECT_NE(lines[0].find("since the baseline +1 blocks, +1000 bytes"), std::string::npos);
}
