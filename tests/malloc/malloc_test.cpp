// All operations, and birth and death, while the C library's allocations fail. A process that
// ends is a failure: the library goes on without memory.

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

#include "U_Budget.h"
#include "U_Date.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Machine.h"
#include "U_MemServices.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Suspend.h"
#include "U_ZString.h"
#include "tests/instrumentation/MemoryLogTest.h"
#include "tests/malloc/FailingMalloc.h"
#include "tests/operations/Operations.h"
#include "tests/operations/Texts.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/OnThreads.h"
#include "tests/support/Text.h"

namespace
{
const long kMostPoints = 5000; // ends the walk of an operation that fails at every point

// Codes of a child's exit, besides 0, and 4 for a birth without memory.
const int kOtherCode = 8;
const int kDeathFailed = 9;
const int kHasFailed = 64; // a bit: an allocation has failed

void DropAlertsAndLogLines()
{
    platform::SetAlertPresenter([](const platform::Alert&) {});
    platform::SetLogSink([](int, const char*, const char*, const char*) {});
}

class Malloc : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        DropAlertsAndLogLines();
    }
};

// Runs the operation once for each allocation, which fails. After each run the operation must
// succeed again, with the same use of the heap. `onFreshThread`: each run is the first of a thread.
void Walk(const Operation& operation, Own& own, bool forGood, bool onFreshThread)
{
    for (long point = 1;; ++point)
    {
        SCOPED_TRACE(testing::Message() << "point " << point);
        U_u64 before = 0;
        U_u64 after = 0;
        bool failed = false;
        Outcome outcome = kWrong;
        U_GetMemoryStat(U_MemStat_InUse, &before);
        const auto run = [&] {
            const ScFailingMalloc failing(point, forGood);
            outcome = OutcomeOf(operation, own);
            failed = ScFailingMalloc::HasFailed();
        };
        if (onFreshThread)
            OnFreshThread(run);
        else
            run();
        U_DisplayPostedErrors();
        U_GetMemoryStat(U_MemStat_InUse, &after);
        EXPECT_TRUE(outcome & (operation.failures | kRight)) << outcome;
        EXPECT_TRUE(operation.keeps || before == after) << after - before;
        EXPECT_EQ(OutcomeOf(operation, own), kRight) << "once there is memory again";
        if (!failed)
            return;
        ASSERT_LT(point, kMostPoints);
    }
}

void WalkAll(const Operations& operations)
{
    const ScOperations registered;
    for (const Operation& operation : operations)
    {
        Own own(1);
        ASSERT_EQ(OutcomeOf(operation, own), kRight) << operation.name << " with memory";
        for (const bool forGood : {false, true})
        {
            for (const bool onFreshThread : {false, true})
            {
                // A thread's first date opens forms of ICU, which crashes without memory for them.
                if (onFreshThread && operation.name == std::string("U_SecondsToDateTimeString"))
                    continue;
                SCOPED_TRACE(testing::Message() << operation.name << (forGood ? ", for good" : "")
                                                << (onFreshThread ? ", on a fresh thread" : ""));
                Walk(operation, own, forGood, onFreshThread);
            }
        }
        U_ClearLastReportedError();
    }
}

// Calls birth or death in a child process for each of its allocations, which fails, once and for
// good. A report waits to be shown at death. The child must exit with one of the codes.
void WalkInChildren(bool atDeath, const std::string& codes)
{
    const auto live = [=](long point, bool forGood) {
        U_Status code = 0;
        if (atDeath)
        {
            code = U_Birth("Test Host", nullptr);
        }
        else
        {
            const ScFailingMalloc failing(point, forGood);
            code = U_Birth("Test Host", nullptr);
        }
        if (code)
            return code == 4 || code == ENOMEM || code == 14 ? 4 : kOtherCode;
        OnFreshThread([] { U_ReportError(1, U_Sev_PROBLEM, Units(u"posted")); });
        if (!atDeath)
            return U_Death() ? kDeathFailed : 0;
        const ScFailingMalloc failing(point, forGood);
        return U_Death() ? kDeathFailed : 0;
    };
    for (const bool forGood : {false, true})
    {
        bool failed = true;
        for (long point = 1; failed; ++point)
        {
            SCOPED_TRACE(testing::Message() << point << (forGood ? ", for good" : ""));
            ASSERT_LT(point, kMostPoints);
            const pid_t child = fork();
            if (!child)
                _exit(live(point, forGood) | (ScFailingMalloc::HasFailed() ? kHasFailed : 0));
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            ASSERT_TRUE(WIFEXITED(status)) << status;
            const int code = WEXITSTATUS(status) & ~kHasFailed;
            EXPECT_NE(codes.find(static_cast<char>('0' + code)), std::string::npos) << code;
            failed = WEXITSTATUS(status) & kHasFailed;
        }
    }
}
} // namespace

TEST_F(Malloc, EachOperationFailsAsPromisedAndThenSucceeds)
{
    WalkAll(AllOperations());
}

// The system allocates for files, threads, and names.
TEST_F(Malloc, CallsOfTheSystemFailAsPromised)
{
    WalkAll({
        {"an executor", kBadAlloc | kCode4 | kLess,
         [](Own&) {
             int result = 0;
             try
             {
                 const ContextPtr context = U_Context::MakeNewContext();
                 const U_ContextSetter setter(context);
                 result = U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(
                     MakeExecutor(), [] { return 7; });
             }
             catch (const boost::thread_resource_error&)
             {
                 return kLess;
             }
             return OfCode(result == 7 ? 0 : result, true);
         }},
        {"U_GetSystemMemoryStats", kLess,
         [](Own&) {
             U_MemoryStats stats = {};
             const int code = U_GetSystemMemoryStats(&stats);
             return code == 0 ? RightIf(stats.mResident > 0) : code == 1 ? kLess : kWrong;
         }},
        {"U_GetMachineName", kBadAlloc | kLess,
         [](Own&) { return RightIf(!U_GetMachineName().empty(), kLess); }},
        {"U_GetComputerName", kLess,
         [](Own&) {
             char name[256];
             return RightIf(U_GetComputerName(sizeof(name), name) == 0 && *name, kLess);
         }},
        {"U_DateTimeZoneNow", kCode4 | kBadAlloc,
         [](Own&) {
             std::tm now = {};
             std::string zone;
             const U_Status code = U_DateTimeZoneNow(&now, zone);
             return OfCode(code, now.tm_year > 100, now.tm_year == 0 && zone.empty());
         }},
        {"a temporary mask", kBadAlloc,
         [](Own&) {
             const U_u32 before = Up_GetInteract();
             RunOrLeaveIntact([] { Up_SetInteractTempComplete(Up_SetInteractTemp(0)); },
                              [&] { return Up_GetInteract() == before; });
             return RightIf(Up_GetInteract() == before);
         }},
    });
}

TEST_F(Malloc, ALanguageThatFailsToLoadIsLoadedByTheNextCall)
{
    DictionaryImage german = BinaryImage({{"/malloc/text", u"ein Text, der lang genug ist"}});
    DictionaryImage lines = TextImage(u"\"$$$/malloc/line=eine Zeile mit einem langen Text\"\r\n");
    WalkAll({{"an image", kCode4 | kBadAlloc,
              [&](Own&) {
                  return OfTextFrom(german, "$$$/malloc/text=x", "ein Text, der lang genug ist");
              },
              true},
             {"lines", kCode4 | kBadAlloc,
              [&](Own&) {
                  return OfTextFrom(lines, "$$$/malloc/line=x", "eine Zeile mit einem langen Text");
              },
              true}});
}

// With the memory log on, whose thread writes to a file.
TEST(MallocOverALife, BirthFailsWithACodeAndDeathNeverFails)
{
    DropAlertsAndLogLines();
    const std::string logs = testing::TempDir() + "malloc_logs";
    std::filesystem::create_directory(logs);
    SetMemoryLogFolder(logs);
    AskForMemoryLog("true", "1");
    WalkInChildren(false, "04");
    WalkInChildren(true, "0");
    std::filesystem::remove_all(logs);
}
