#include "U_Lifecycle.h"

#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

#include <control.h>
#include <tolv/memory.h>
#include <win32/runtime.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/ExpectedLeaks.h"
#include "tests/support/FailingNew.h"
#include "tests/support/Text.h"

namespace
{
const char kSettingsLine[] = "Up_InitializeMemorySubsystem: fudgebuffer=262144000, goDirect=1";

U_i32 RunModeSeven()
{
    return 7;
}

int NoPurge(void*, U_u64, U_u64, bool*)
{
    return 0;
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

TEST_F(Lifecycle, BirthAndDeathTellTheLogInOrder)
{
    ASSERT_EQ(U_Birth("Host", nullptr), 0);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_THAT(mLog.Texts(),
                testing::ElementsAre("Birth: U Birth", testing::StartsWith("CPU Data"),
                                     kSettingsLine, "Birth: U Hog Birth", "Death: U Death"));
    EXPECT_EQ(mLog.Lines().front().level, 10);
    EXPECT_EQ(mLog.Lines().front().category, "U");
    EXPECT_EQ(mLog.Lines().back().level, 10);
}

TEST_F(Lifecycle, SettingsAreReadAtBirth)
{
    platform::SetDebugSetting("MemoryFudgeBuffer2", "12");
    platform::SetDebugSetting("MemoryAccountDirect2", "TRUE");
    ASSERT_EQ(U_Birth("Host", nullptr), 0);
    EXPECT_EQ(mLog.Texts("Up_InitializeMemorySubsystem"),
              std::vector<std::string>{"fudgebuffer=12, goDirect=0"});
    U_Death();
}

TEST_F(Lifecycle, BirthChargesTheApplicationAndDeathTakesItOff)
{
    const U_u64 before = MEM_GetMemUsage();
    ASSERT_EQ(U_Birth("Host", nullptr), 0);
    U_u64 presumed = 0;
    EXPECT_EQ(U_PresumedAppSize(&presumed), 0);
    EXPECT_EQ(U_PresumedAppSize(nullptr), 0);
    EXPECT_EQ(presumed, 0x8700000u);
    EXPECT_GT(MEM_GetMemUsage(), before + presumed); // the library's record
    EXPECT_LT(MEM_GetMemUsage(), before + presumed + 4096);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(MEM_GetMemUsage(), before);
}

TEST_F(Lifecycle, ManyLivesFollowEachOther)
{
    const U_u64 before = MEM_GetMemUsage();
    for (int life = 0; life < 50; ++life)
    {
        ASSERT_EQ(U_Birth("Host", nullptr), 0);
        void** handle = U_AllocateHandleQuiet(100);
        ASSERT_TRUE(handle);
        U_FreeHandle(handle);
        ASSERT_EQ(U_Death(), 0);
    }
    EXPECT_EQ(MEM_GetMemUsage(), before);
    EXPECT_TRUE(mLog.Texts("MEM_DumpLeaks").empty());
}

TEST_F(Lifecycle, DeathTellsLeaksByName)
{
    ASSERT_EQ(U_Birth("Host", nullptr), 0);
    std::string name = "second";
    void* first = U_AllocatePtr(0, "first", 10);
    void* second = U_AllocatePtr(0, name.c_str(), 20);
    void* third = U_AllocatePtr(0, name.c_str(), 30);
    name = "gone by then";
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(mLog.Texts("MEM_DumpLeaks"),
              (std::vector<std::string>{"first: 1 blocks, 10 bytes", "second: 2 blocks, 50 bytes",
                                        "left in the heap: 3 blocks, 60 bytes"}));
    for (void* leak : {first, second, third})
        U_FreePtr(leak);
}

TEST_F(Lifecycle, DeathWithoutBirthIsRefused)
{
    EXPECT_EQ(U_Death(), 5889);
    ASSERT_EQ(U_Birth("Host", nullptr), 0);
    EXPECT_EQ(U_Death(), 0);
    EXPECT_EQ(U_Death(), 5889);
}

TEST_F(Lifecycle, BirthWithoutANameDoesNothing)
{
    EXPECT_EQ(U_Birth(nullptr, nullptr), 3);
    EXPECT_TRUE(mLog.Texts("Birth").empty());
    EXPECT_FALSE(U_IsOnMainThread());
}

TEST_F(Lifecycle, BirthWithoutMemoryGivesFourAndCanBeTriedAgain)
{
    struct Row
    {
        const char* what;
        bool heapToo;
    };
    const Row rows[] = {{"heap", true}, {"record", false}};
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.what);
        platform::SetHeapFailure([&](unsigned long long size) { return row.heapToo || size != 0; });
        EXPECT_EQ(U_Birth("Host", &RunModeSeven), 4);
        EXPECT_TRUE(U_IsOnMainThread());
        EXPECT_EQ(U_GetRunMode(), 7);
        EXPECT_EQ(U_Death(), 5889);
        U_ZStringSetEnglish();
        EXPECT_FALSE(U_ZLocaleAlive());    // a locale comes after the record
        MEM_AccountAllocation(-0x8700000); // a failed birth leaves its charge
        platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
        EXPECT_EQ(U_Birth("Host", nullptr), 0);
        EXPECT_EQ(U_Death(), 0);
    }
}

TEST_F(Lifecycle, AFailedSubBirthIsFatalAndLeavesNoRecord)
{
    std::vector<bool> dying; // as the record says while an alert is up
    CapturedAlerts alerts;
    alerts.mWhileUp = [&](const platform::Alert&) { dying.push_back(U_Die()); };
    int asked = 0;
    platform::SetHeapFailure([&](unsigned long long) { return ++asked > 2; }); // heap, record
    EXPECT_EQ(U_Birth("Host", nullptr), 4);
    EXPECT_THAT(
        alerts.Texts(),
        testing::ElementsAre(
            testing::HasSubstr("Unable to allocate"),
            "Host can\u2019t continue: Host can't continue: out of memory while trying to U_Birth"
            "\n\n( 23 :: 3 )"));
    EXPECT_EQ(dying, (std::vector<bool>{false, true}));
    EXPECT_EQ(platform::BeepCount(), 0u) << "the record was there";
    EXPECT_TRUE(U_Die());
    EXPECT_EQ(platform::BeepCount(), 2u) << "it is gone";
    MEM_AccountAllocation(-0x8700000);
    platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
    EXPECT_EQ(U_Birth("Host", nullptr), 0);
    EXPECT_EQ(U_Death(), 0);
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
    const ScExpectedLeaks expected; // of the steps before the one that fails
    FailEachNew([&] { code = U_Birth("Host", nullptr); },
                [&](long nth) {
                    ASSERT_TRUE(code || U_Death() == 0) << nth;
                    EXPECT_EQ(std::get_new_handler(), before) << nth;
                    EXPECT_TRUE(U_Die()) << nth << ": a record is left";
                    // A failed birth leaves its charge, and earlier steps what they made.
                    MEM_AccountAllocation(static_cast<U_i32>(used - MEM_GetMemUsage()));
                });
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(hadItsOwn) << "no step behind it has failed";
}

TEST_F(Lifecycle, ALogThatThrowsFailsTheStepThatLogs)
{
    struct Row
    {
        const char* line;
        U_Status code;
    };
    for (const Row& row : {Row{"U Hog Birth", 14}, Row{"U Birth", 0}})
    {
        SCOPED_TRACE(row.line);
        platform::SetLogSink([&](int, const char*, const char*, const char* text) {
            if (text == std::string(row.line))
                throw std::runtime_error("log");
        });
        // What of another type comes out of the fatal report doesn't keep the record.
        bool fatal = false;
        platform::SetAlertPresenter([&](const platform::Alert& alert) {
            if (Narrow(alert.text).find("while trying to U_Birth") == std::string::npos)
                return;
            fatal = true;
            throw "alert";
        });
        EXPECT_EQ(U_Birth("Host", nullptr), row.code);
        EXPECT_EQ(fatal, row.code != 0);
        EXPECT_EQ(U_Die(), row.code != 0);
        if (row.code)
            MEM_AccountAllocation(-0x8700000);
        else
            EXPECT_EQ(U_Death(), 0);
    }
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
        U_ClearLastReportedError(); // or the same error isn't posted again
        std::thread([] { Up_ReportErrString(0, U_Sev_WARNING, "its alert throws"); }).join();
        void* const leak = U_AllocatePtr(0, "leak", 10);
        U_SetPurgeRequestCallback(&NoPurge, nullptr);
        auto owned = std::make_shared<int>(0);
        const std::weak_ptr<int> watched = owned;
        U_RegisterExceptionTranslatorImpl([owned](std::exception*, int*) { return false; });
        owned.reset();

        std::vector<std::string> threw;
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
        U_PurgeRequestCallback callback = &NoPurge;
        U_GetPurgeRequestCallback(&callback, nullptr);
        EXPECT_EQ(callback, nullptr);
        EXPECT_TRUE(watched.expired());
        U_FreePtr(leak);
    }
}

TEST_F(Lifecycle, DyingIsAskedWithoutAndWithARecord)
{
    EXPECT_TRUE(U_Die());
    EXPECT_EQ(platform::BeepCount(), 2u);
    ASSERT_EQ(U_Birth("A display name of more than thirty characters", nullptr), 0);
    EXPECT_FALSE(U_Die());
    EXPECT_EQ(platform::BeepCount(), 2u);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_TRUE(U_Die());
    EXPECT_EQ(platform::BeepCount(), 4u);
}

TEST_F(Lifecycle, HandlersEndAroundThePostedErrorsOfDeath)
{
    const std::terminate_handler terminate = std::get_terminate();
    const std::new_handler newHandler = std::get_new_handler();
    int seen = 0;
    CapturedAlerts alerts;
    alerts.mWhileUp = [&](const platform::Alert&) {
        ++seen;
        EXPECT_EQ(std::get_terminate(), terminate);
        EXPECT_EQ(win32::_get_invalid_parameter_handler(), nullptr);
        EXPECT_NE(std::get_new_handler(), newHandler); // it goes with the record
    };
    ASSERT_EQ(U_Birth("Host", nullptr), 0);
    EXPECT_NE(std::get_terminate(), terminate);
    EXPECT_NE(win32::_get_invalid_parameter_handler(), nullptr);
    std::thread([] { Up_ReportErrString(0, U_Sev_WARNING, "posted"); }).join();
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(std::get_new_handler(), newHandler);
}

TEST_F(Lifecycle, RunModeLivesFromBirthToDeath)
{
    EXPECT_EQ(U_GetRunMode(), 0);
    ASSERT_EQ(U_Birth("Host", &RunModeSeven), 0);
    EXPECT_EQ(U_GetRunMode(), 7);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(U_GetRunMode(), 0);
}

TEST_F(Lifecycle, DeathForgetsItsCallbacksAndKeepsTheMainThread)
{
    ASSERT_EQ(U_Birth("Host", nullptr), 0);
    int refcon = 0;
    U_SetPurgeRequestCallback(&NoPurge, &refcon);
    U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, kMiB));
    ASSERT_EQ(U_Death(), 0);
    EXPECT_GE(U_GetRecycledMemorySize(), kMiB);
    U_u64 used = 0;
    EXPECT_EQ(TOLV_TotalMemoryUsed(&used), 0);
    EXPECT_EQ(used, MEM_GetMemUsage()) << "the pool is no longer counted";
    U_PurgeRequestCallback callback = &NoPurge;
    void* kept = &refcon;
    U_GetPurgeRequestCallback(&callback, &kept);
    EXPECT_EQ(callback, nullptr);
    EXPECT_EQ(kept, nullptr);
    EXPECT_TRUE(U_IsOnMainThread());
}
