#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

#include <tolv/memory.h>
#include <win32/runtime.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DamagedRecord.h"
#include "tests/support/ExpectedLeaks.h"
#include "tests/support/FailingNew.h"
#include "tests/support/System.h"
#include "tests/support/Text.h"

namespace
{
const char kSettingsLine[] = "Up_InitializeMemorySubsystem: fudgebuffer=262144000, goDirect=1";

U_i32 RunModeSeven()
{
    return 7;
}

class Lifecycle : public testing::Test
{
protected:
    void SetUp() override { PinSwitches(); }
    void TearDown() override
    {
        while (U_IsOnMainThread())
            U_DeregisterMainThread();
        platform::ResetAll();
    }

    CapturedLog mLog;
};
} // namespace

TEST_F(Lifecycle, ALifeBeginsAndEndsInOrder)
{
    EXPECT_EQ(U_Death(), 5889);
    EXPECT_EQ(U_Birth(nullptr, &RunModeSeven), 3) << "without a name";
    EXPECT_FALSE(U_IsOnMainThread());
    EXPECT_TRUE(U_Die());
    EXPECT_EQ(platform::BeepCount(), 2u);
    EXPECT_EQ(U_GetRunMode(), 0);
    const U_u64 before = MEM_GetMemUsage();
    mLog.Clear();

    ASSERT_EQ(U_Birth("A display name of more than thirty characters", &RunModeSeven), 0);
    EXPECT_FALSE(U_Die());
    EXPECT_EQ(U_GetRunMode(), 7);
    U_u64 presumed = 0;
    EXPECT_EQ(U_PresumedAppSize(&presumed), 0);
    EXPECT_EQ(presumed, 0x8700000u);
    EXPECT_GT(MEM_GetMemUsage(), before + presumed); // the library's record counts as use
    EXPECT_LT(MEM_GetMemUsage(), before + presumed + 4096);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_THAT(mLog.Texts(),
                testing::ElementsAre("Birth: U Birth", testing::StartsWith("CPU Data"),
                                     kSettingsLine, "Birth: U Hog Birth", "Death: U Death"));
    EXPECT_EQ(mLog.Lines().front().level, 10);
    EXPECT_EQ(mLog.Lines().front().category, "U");
    EXPECT_EQ(mLog.Lines().back().level, 10);

    EXPECT_EQ(MEM_GetMemUsage(), before);
    EXPECT_EQ(U_GetRunMode(), 0);
    EXPECT_TRUE(U_IsOnMainThread());
    EXPECT_EQ(U_Death(), 5889);
}

TEST_F(Lifecycle, DeathLogsLeaksByTheirNamesCutAtACharacter)
{
    ASSERT_EQ(U_Birth("Host", nullptr), 0);
    const std::string kept(62, 'n');
    std::string name = kept + "\xC3\xA9" + "rest";
    void* resized = nullptr;
    ASSERT_EQ(U_ResizePtr(0, 20, name.c_str(), &resized), 0) << "allocates, as for a null pointer";
    void* const leaks[] = {U_AllocatePtr(0, name.c_str(), 10), resized};
    void** const unnamed = U_AllocateHandleQuiet(40);
    name = "gone by then";
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(mLog.Texts("MEM_DumpLeaks"),
              (Texts{"(no name): 1 blocks, 40 bytes", kept + ": 2 blocks, 30 bytes",
                     "left in the heap: 3 blocks, 70 bytes"}));
    for (void* leak : leaks)
        U_FreePtr(leak);
    U_FreeHandle(unnamed);
}

TEST_F(Lifecycle, DeathLeavesADamagedLibraryInPlace)
{
    for (std::size_t end : {0u, 1u})
    {
        SCOPED_TRACE(end);
        platform::ResetAll();
        CapturedAlerts alerts;
        ASSERT_EQ(U_Birth("Host", &RunModeSeven), 0);
        const std::vector<U_u32*> magic = FindMagicNumbers();
        ASSERT_EQ(magic.size(), 2u);
        void** const handle = U_AllocateHandle(0, "block", 100);
        const U_u64 used = MEM_GetMemUsage();
        {
            const ScDamagedRecord damaged(magic[end]);
            EXPECT_TRUE(U_Die());
            EXPECT_EQ(platform::BeepCount(), 2u);
            EXPECT_FALSE(platform::MemDialogsQuieted());
            EXPECT_EQ(U_Death(), 2);
            EXPECT_EQ(alerts.Texts(), Texts{"Internal structures damaged.\n\n( 23 :: 4 )"});
            EXPECT_EQ(U_Death(), 2);
            EXPECT_TRUE(platform::MemDialogsQuieted());
            EXPECT_EQ(MEM_GetMemUsage(), used);
            EXPECT_EQ(U_GetRunMode(), 7);
            EXPECT_EQ(U_CheckHandleFromHeap(handle), 0);
        }
        // The process stays dying in this life. The next life starts anew.
        EXPECT_TRUE(U_Die());
        EXPECT_EQ(platform::BeepCount(), 2u);
        U_FreeHandle(handle);
        EXPECT_EQ(U_Death(), 0);
    }
}

TEST_F(Lifecycle, ABirthWithoutMemoryReturnsFourAndTheNextOneSucceeds)
{
    const std::string fatal =
        "Host can\u2019t continue: Host can't continue: out of memory while trying to U_Birth"
        "\n\n( 23 :: 3 )";
    // The requests that the heap grants: none, the heap, the record, and the table of hogs.
    for (const int granted : {0, 1, 2, 3})
    {
        SCOPED_TRACE(granted);
        platform::ResetAll();
        std::vector<bool> dying; // U_Die while an alert is shown
        CapturedAlerts alerts;
        alerts.mWhileUp = [&](const platform::Alert&) { dying.push_back(U_Die()); };
        int asked = 0;
        platform::SetHeapFailure([&](unsigned long long) { return ++asked > granted; });
        EXPECT_EQ(U_Birth("Host", &RunModeSeven), 4);
        platform::SetHeapFailure({});
        if (granted >= 2)
        {
            EXPECT_THAT(alerts.Texts(),
                        testing::ElementsAre(
                            testing::AllOf(testing::HasSubstr("tracked memory global table"),
                                           testing::HasSubstr("( 23 :: 31 )")),
                            fatal));
            EXPECT_EQ(dying, (std::vector<bool>{false, true}));
            EXPECT_EQ(platform::BeepCount(), 0u) << "the record existed";
        }
        EXPECT_TRUE(U_Die()) << "the record is gone";
        EXPECT_TRUE(U_IsOnMainThread());
        EXPECT_EQ(U_GetRunMode(), 7);
        EXPECT_EQ(U_Death(), 5889);
        U_ZStringSetEnglish();
        EXPECT_EQ(U_ZLocaleAlive(), granted >= 2); // the locale is born after the record
        MEM_AccountAllocation(-0x8700000);         // a failed birth keeps its charge
        EXPECT_EQ(U_Birth("Host", nullptr), 0);
        EXPECT_EQ(U_Death(), 0);
    }
}

TEST_F(Lifecycle, AFailedBirthPutsTheNewHandlerBack)
{
    const std::new_handler before = std::get_new_handler();
    const U_u64 used = MEM_GetMemUsage();
    bool hadItsOwn = false;
    CapturedAlerts alerts;
    alerts.mWhileUp = [&](const platform::Alert&) {
        hadItsOwn = hadItsOwn || std::get_new_handler() != before;
    };
    U_Status code = 0;
    const ScExpectedLeaks expected; // of the steps before the failed one
    FailEachNew([&] { code = U_Birth("Host", nullptr); },
                [&](long nth) {
                    ASSERT_TRUE(code || U_Death() == 0) << nth;
                    EXPECT_EQ(std::get_new_handler(), before) << nth;
                    EXPECT_TRUE(U_Die()) << nth << ": a record is left";
                    // A failed birth keeps its charge and the allocations of its earlier steps.
                    MEM_AccountAllocation(static_cast<U_i32>(used - MEM_GetMemUsage()));
                });
    EXPECT_EQ(code, 0);
    // The later steps call operator new on POSIX systems only.
    EXPECT_TRUE(hadItsOwn || IsWindows()) << "no later step has failed";
}

TEST_F(Lifecycle, ALogThatThrowsFailsTheStepThatLogs)
{
    platform::SetLogSink([](int, const char*, const char*, const char* text) {
        if (text == std::string("U Hog Birth"))
            throw std::runtime_error("log");
    });
    // The record is also destroyed if the fatal report throws an exception of another type.
    bool isFatal = false;
    platform::SetAlertPresenter([&](const platform::Alert& alert) {
        if (Narrow(alert.text).find("while trying to U_Birth") == std::string::npos)
            return;
        isFatal = true;
        throw "alert";
    });
    EXPECT_EQ(U_Birth("Host", nullptr), 14);
    EXPECT_TRUE(isFatal);
    EXPECT_TRUE(U_Die());
    MEM_AccountAllocation(-0x8700000);
}

TEST_F(Lifecycle, DeathIsWholeWhateverTheLogAndTheAlertsThrow)
{
    const std::function<void()> rows[] = {[] { throw std::runtime_error("broken"); },
                                          [] { throw 77; }, [] { throw "of no type we know"; }};
    const std::new_handler newHandler = std::get_new_handler();
    for (const std::function<void()>& fail : rows)
    {
        const U_u64 used = MEM_GetMemUsage();
        ASSERT_EQ(U_Birth("Host", nullptr), 0);
        U_ClearLastReportedError(); // a repeated error would not be posted
        std::thread([] { Up_ReportErrString(0, U_Sev_WARNING, "its alert throws"); }).join();
        void* const leak = U_AllocatePtr(0, "leak", 10);
        auto owned = std::make_shared<int>(0);
        const std::weak_ptr<int> watched = owned;
        U_RegisterExceptionTranslatorImpl([owned](std::exception*, int*) { return false; });
        owned.reset();

        Texts threw;
        platform::SetLogSink([&](int, const char*, const char* tag, const char*) {
            threw.push_back(tag);
            fail();
        });
        platform::SetAlertPresenter([&](const platform::Alert&) {
            threw.push_back("alert");
            fail();
        });
        EXPECT_EQ(U_Death(), 0);
        platform::SetLogSink([](int, const char*, const char*, const char*) {});
        platform::SetAlertPresenter([](const platform::Alert&) {});
        EXPECT_THAT(threw, testing::IsSupersetOf({"Death", "alert", "MEM_DumpLeaks"}));
        EXPECT_TRUE(U_Die());
        EXPECT_EQ(std::get_new_handler(), newHandler);
        EXPECT_EQ(MEM_GetMemUsage(), used + 10);
        EXPECT_TRUE(watched.expired());
        U_FreePtr(leak);
    }
}

TEST_F(Lifecycle, DeathRemovesHandlersAroundThePostedErrorsAndTheCallback)
{
    const std::terminate_handler terminate = std::get_terminate();
    const std::new_handler newHandler = std::get_new_handler();
    ASSERT_EQ(U_Birth("Host", nullptr), 0);
    EXPECT_NE(std::get_terminate(), terminate);
    EXPECT_NE(win32::_get_invalid_parameter_handler(), nullptr);
    U_PurgeRequestCallback callback = [](void*, U_u64, U_u64, bool*) { return 0; };
    void* refcon = &callback;
    U_SetPurgeRequestCallback(callback, refcon);
    U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, kMiB));
    std::thread([] { Up_ReportErrString(0, U_Sev_WARNING, "posted"); }).join();
    CapturedAlerts alerts;
    alerts.mWhileUp = [&](const platform::Alert&) {
        EXPECT_EQ(std::get_terminate(), terminate);
        EXPECT_EQ(win32::_get_invalid_parameter_handler(), nullptr);
        EXPECT_NE(std::get_new_handler(), newHandler); // removed with the record
    };
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(alerts.All().size(), 1u);
    EXPECT_EQ(std::get_new_handler(), newHandler);
    EXPECT_GE(U_GetRecycledMemorySize(), kMiB);
    U_u64 used = 0;
    EXPECT_EQ(TOLV_TotalMemoryUsed(&used), 0);
    EXPECT_EQ(used, MEM_GetMemUsage()) << "the pool is no longer counted";
    U_GetPurgeRequestCallback(&callback, &refcon);
    EXPECT_EQ(callback, nullptr);
    EXPECT_EQ(refcon, nullptr);
}

TEST(FreshProcessDeathTest, HasNoUIThreadNoMaskAndTranslatorsFrom100)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto isFresh = [] {
        CapturedLog log;
        CapturedAlerts alerts;
        const bool isEmpty = !U_IsOnUIThread() && Up_GetInteract() == 0;
        platform::SetHeapFailure([](unsigned long long size) { return size != 0; }); // the record
        const U_Status failure = U_Birth("Host", nullptr);
        platform::SetHeapFailure({});
        // Without a mask a failed birth reports nothing.
        const bool isSilent = alerts.All().empty() && log.Texts("U_Sev_FATAL").empty();
        U_Birth("Host", nullptr);
        const U_u32 id =
            U_RegisterExceptionTranslatorImpl([](std::exception*, int*) { return false; });
        return isEmpty && failure == 4 && isSilent && id == 100;
    };
    EXPECT_EXIT(std::_Exit(isFresh() ? 0 : 1), testing::ExitedWithCode(0), "");
}
