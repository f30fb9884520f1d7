// Hogs from birth to death: the report of leaks, and the hogs of the next life.

#include <optional>

#include <gmock/gmock.h>

#include <platform/control.h>
#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "tests/support/ExpectedLeaks.h"
#include "tests/support/FailingNew.h"
#include "tests/support/Hogs.h"

namespace
{
typedef std::vector<std::string> Texts;

class HogLeaks : public Hogs
{
protected:
    // Dies with one handle left of each hog, and frees it afterwards.
    Texts LeakLinesOf(const Texts& names)
    {
        std::vector<void**> left;
        for (const std::string& name : names)
        {
            EXPECT_EQ(U_RegisterHog(name.c_str(), &mId), 0);
            left.push_back(New(10 + left.size()));
        }
        EXPECT_EQ(U_AddLoggingCallback(&NoteReport, &mReport), 0);
        U_Death();
        for (void** handle : left)
            U_FreeHandle(handle);
        const Texts lines = mLog.Texts("Up_TerminateHogs");
        U_Birth("Test Host", nullptr);
        return lines;
    }

    struct Report
    {
        U_u32 mLocation;
        U_u16 mSeverity;
        std::string mText;
    };

    static U_Status NoteReport(void* report, U_u32 location, U_u16 severity, const char* text)
    {
        *static_cast<Report*>(report) = {location, severity, text};
        return 0;
    }

    Report mReport = {};
};
} // namespace

TEST_F(HogLeaks, DeathNamesThoseWithHandlesLeft)
{
    EXPECT_EQ(LeakLinesOf({"silent"}), Texts()) << "reporting is off";
    U_SetHogReportingOn(true);
    mAlerts.Clear();
    const std::string expected = "Tracked Memory leaks detected\rimages: 10 bytes leaked\r"
                                 "sounds: 12 bytes leaked\rwav: 16 bytes leaked\r";
    EXPECT_EQ(
        LeakLinesOf({"images", "the TIFFIO writer", "sounds", "WAV", "OMF", "old PNGIO", "wav"}),
        Texts{expected});
    EXPECT_EQ(mReport.mLocation, 0x170026u);
    EXPECT_EQ(mReport.mSeverity, U_Sev_LEAK);
    EXPECT_EQ(mReport.mText, "Test Host warning: " + expected);
    EXPECT_EQ(mAlerts.All().size(), 1u);
    const Texts lines =
        LeakLinesOf({std::string(900, 'n'), std::string(100, 'm'), "never reported"});
    EXPECT_EQ(lines.back().size(), 1023u);
    U_SetHogReportingOn(false);
}

// A copy of a hog handle is freed as a handle of the same hog, so the count may become negative.
TEST_F(HogLeaks, BytesOfANegativeCountAreNegative)
{
    void** handle = New(10);
    for (int count = 0; count < 2; ++count)
    {
        void** copy = nullptr;
        ASSERT_EQ(U_DuplicateHandle(handle, "copy", &copy), 0);
        EXPECT_EQ(U_FreeHogHandle(copy), 0);
    }
    U_FreeHandle(handle);
    EXPECT_EQ(Count(), (Stats{0xFFFFFFFF, 0xFFFFFFFF - 9})) << "modulo 2^32, each alone";
    U_SetHogReportingOn(true);
    U_Death();
    U_SetHogReportingOn(false);
    EXPECT_EQ(mLog.Texts("Up_TerminateHogs"),
              Texts{"Tracked Memory leaks detected\rtest: -10 bytes leaked\r"});
    U_Birth("Test Host", nullptr);
}

TEST_F(HogLeaks, ABirthAfterAFailedBirthHasNoHogs)
{
    U_Death();
    const U_u64 used = MEM_GetMemUsage();
    const ScExpectedLeaks expected; // of the steps before the one that fails
    U_Status failure = 0;
    for (long nth = 1; nth < 100 && !failure; ++nth)
    {
        std::optional<ScFailingNew> failing; // from the step of hogs on
        platform::SetLogSink([&](int, const char*, const char*, const char* text) {
            if (text == std::string("U Hog Birth"))
                failing.emplace(nth);
        });
        failure = U_Birth("Test Host", nullptr);
        failing.reset();
        if (!failure)
            U_Death();
    }
    const CapturedLog log;
    ASSERT_NE(failure, 0);
    ASSERT_EQ(U_RegisterHog("of a life that didn't begin", &mId), 0);
    U_FreeHandle(New(10));
    MEM_AccountAllocation(static_cast<U_i32>(used - MEM_GetMemUsage()));

    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    ASSERT_EQ(U_RegisterHog("next", &mId), 0);
    EXPECT_EQ(mId, kFirstId);
    EXPECT_EQ(Count(), (Stats{0, 0}));
}

TEST_F(HogLeaks, AFailedBirthNamesTheTableInItsAlert)
{
    U_Death();
    const ScExpectedLeaks expected; // of the steps before the one that fails
    mAlerts.Clear();
    int asked = 0;
    platform::SetHeapFailure([&](unsigned long long) { return ++asked > 3; }); // of the table
    const U_u64 used = MEM_GetMemUsage();
    EXPECT_EQ(U_Birth("Test Host", nullptr), 4);
    EXPECT_THAT(mAlerts.Texts(),
                testing::Contains(testing::AllOf(testing::HasSubstr("tracked memory global table"),
                                                 testing::HasSubstr("( 23 :: 31 )"))));
    MEM_AccountAllocation(static_cast<U_i32>(used - MEM_GetMemUsage()));
    platform::SetHeapFailure({});
    EXPECT_EQ(U_Birth("Test Host", nullptr), 0);
}
