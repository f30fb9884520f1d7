// Reports without memory, also inside a report, and one request on its way from the allocation
// to the user.

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <tuple>

#include "U_Alloc.h"
#include "U_Interact.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/OnThreads.h"
#include "tests/support/Text.h"

namespace
{
class ReportFaults : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        platform::SetAlertPresenter([](const platform::Alert&) {});
        platform::SetLogSink([](int, const char*, const char*, const char*) {});
        U_ReportError(0, U_Sev_PROBLEM, Units(u"makes the state that later reports reuse"));
    }
};

class AllocFailure : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        SetLimitsAboveUse(0, 2 * kMiB);
    }
};
} // namespace

// A thread's first report also allocates the thread's state.
TEST_F(ReportFaults, AThreadsTextIsReportedWholeAndKeptWhicheverAllocationFails)
{
    static const char* text;
    static int whole;
    static int outOfMemory;
    static int others;
    const U_LoggingCallback listen = [](void*, U_u32, U_u16, const char* received) {
        if (std::strstr(received, text))
            ++whole;
        else if (std::strstr(received, "Out of memory. ("))
            ++outOfMemory;
        else
            others += *received != 0; // empty without memory to convert it
        return 0;
    };
    ASSERT_EQ(U_AddLoggingCallback(listen, nullptr), 0);
    const auto reportNth = [](long nth, bool withCode) {
        const ScFailingNew failing(nth);
        if (withCode)
            Up_ReportNuloErrString(0, U_Sev_WARNING, 3, "the caller did.");
        else
            Up_ReportErrString(0, U_Sev_WARNING, "what the caller did.");
        return failing.HasFailed();
    };
    for (int row = 0; row < 8; ++row)
    {
        const bool withCode = row % 2;
        const bool isOnMainThread = row / 2 % 2;
        const bool isItsFirst = row / 4;
        text = withCode ? "the caller did -- a bad parameter was passed." : "what the caller did.";
        bool failed = true;
        for (long nth = 1; failed; ++nth)
        {
            SCOPED_TRACE(nth);
            OnFreshThread([&] {
                if (isOnMainThread)
                    U_RegisterMainThread();
                if (!isItsFirst)
                    Up_ReportErrString(0, U_Sev_INFO, "earlier");
                whole = outOfMemory = others = 0;
                failed = reportNth(nth, withCode);
                EXPECT_EQ(std::strstr(Up_GetThreadLoggingBuffer(), "Out of memory"), nullptr);
                if (isOnMainThread)
                    U_DeregisterMainThread();
            });
            EXPECT_LE(whole, 1);
            EXPECT_LE(outOfMemory, isOnMainThread);
            EXPECT_LE(outOfMemory, whole); // it never replaces the text
            EXPECT_EQ(others, 0);
        }
        EXPECT_EQ(whole, 1);
    }
    U_DisplayPostedErrors();
}

TEST_F(AllocFailure, TheSentenceNamesTheSizeAndTheOperation)
{
    const std::string kRest =
        " MB of memory. Either decrease the memory requirements for the rendering of this frame, "
        "or install more RAM. (12803";
    const std::string kHelp = "). For help, see https://u.example/help/memory.\n\n";
    const std::string kLimit =
        " GB exceeds internal limits. Decrease the memory requirements for the rendering of this "
        "frame. (12802";
    const std::tuple<U_u64, const char*, std::string> kFailures[] = {
        {3 * kMiB, "disk cache", "Unable to allocate 3.000" + kRest + " / disk cache"},
        {3 * kMiB + kMiB / 4, "", "Unable to allocate 3.250" + kRest + " / "},
        {0x7FFFFFFF, "x", "Unable to allocate 2048.000" + kRest + " / x"},
        {0x80000000, "not shown", "Memory allocation of 2.0" + kLimit},
        {~U_u64(0), "not shown", "Memory allocation of 17179869184.0" + kLimit},
    };
    for (const auto& [size, what, text] : kFailures)
    {
        mAlerts.Clear();
        EXPECT_EQ(U_AllocateHandle(0, what, size), nullptr);
        EXPECT_EQ(mAlerts.Texts(), Texts{"Test Host: " + text + kHelp});
    }
    mAlerts.Clear();
    EXPECT_EQ(U_AllocateHandle(0, nullptr, 3 * kMiB), nullptr);
    EXPECT_EQ(U_AllocatePtrQuiet(0x80000000), nullptr);
    EXPECT_EQ(mAlerts.Texts(), Texts());
}

TEST_F(AllocFailure, AFailureInsideItsOwnReportIsOnlyLogged)
{
    mAlerts.mWhileUp = [](const platform::Alert&) {
        EXPECT_EQ(U_AllocateHandle(0, "inner", 3 * kMiB), nullptr);
    };
    U_AllocateHandle(0, "outer", 3 * kMiB);
    EXPECT_EQ(mLog.Texts("Up_ReportAllocFailure"), Texts{"Recurse"});
    EXPECT_EQ(mAlerts.All().size(), 1u);
    mAlerts.mWhileUp = nullptr;
    U_AllocateHandle(0, "next", 3 * kMiB);
    EXPECT_EQ(mAlerts.All().size(), 2u);
}

TEST_F(AllocFailure, AnAllocationFailsWhateverACallbackDoes)
{
    static std::function<U_Status()> answer;
    ASSERT_EQ(
        U_AddLoggingCallback([](void*, U_u32, U_u16, const char*) { return answer(); }, nullptr),
        0);
    const std::function<U_Status()> kAnswers[] = {
        [] { return 5; },
        []() -> U_Status { throw std::runtime_error("broken"); },
        []() -> U_Status { throw std::string("foreign"); },
    };
    for (const auto& one : kAnswers)
    {
        answer = one;
        EXPECT_EQ(U_AllocatePtr(0, "frame", 3 * kMiB), nullptr);
        answer = [] { return 0; };
        mAlerts.Clear();
        EXPECT_EQ(U_AllocatePtr(0, "next", 3 * kMiB), nullptr);
        EXPECT_EQ(mAlerts.All().size(), 1u);
    }
    EXPECT_EQ(mLog.Texts("POSS_FRAGMENTATION"), Texts()); // the budget refused, not the heap
}

TEST_F(AllocFailure, TheSentenceIsInTheUsersLanguageAndTheLogHasTheLargestBlock)
{
    platform::SetUserLocale("de_DE");
    DictionaryImage german =
        BinaryImage({{"/QX/U/CannotAllocateEnoughMemory", u"@0 MB fehlen (12803@1)."}});
    ASSERT_EQ(U_ZStringSetCurrentDictionary(german.units.data(), german.size), 0);
    platform::SetHeapFailure([](unsigned long long size) { return size == kMiB; });
    const std::string used = std::to_string(InUse());
    EXPECT_EQ(U_AllocateHandle(kLocation, "frame", kMiB), nullptr);
    EXPECT_EQ(mAlerts.Texts(),
              Texts{"Test Host: 1,000 MB fehlen (12803 / frame).\n\n( 18 :: 52 )"});

    const Texts lines = mLog.Texts("POSS_FRAGMENTATION");
    ASSERT_EQ(lines.size(), 1u);
    unsigned long long largest = 0;
    EXPECT_EQ(std::sscanf(lines[0].c_str(), "maxblock:%llu", &largest), 1);
    EXPECT_GT(largest, kMiB);
    EXPECT_EQ(lines[0], "maxblock:" + std::to_string(largest) + " request:1048576 installed:" +
                            std::to_string(kPhysicalMemory) + " used:" + used);
}
