// What each thread keeps of its reports.

#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "U_Report.h"
#include "U_String.h"
#include "tests/support/FreshThread.h"
#include "tests/support/NoMemory.h"

namespace
{
// What U_GetLastError tells, over what stood in the places before.
struct LastError
{
    LastError() { EXPECT_EQ(U_GetLastError(text, &severity, &location, &error), 0); }

    char text[U_ReportTextSize] = "before";
    U_u16 severity = 99;
    U_u32 location = 99;
    U_u32 error = 99;
};

void ExpectNothingReported()
{
    const LastError last;
    EXPECT_STREQ(last.text, "");
    EXPECT_EQ(last.severity, 0);
    EXPECT_EQ(last.location, 0u);
    EXPECT_EQ(last.error, 0u);
}

int FailuresWithoutMemory()
{
    int failures = 0;
    char* shared = nullptr;
    const LastError reader; // makes no buffer, or the next line but one finds it
    {
        const ScNoMemory noMemory;
        shared = Up_GetThreadLoggingBuffer();
        failures += Up_SetThreadLastError(4) != 4;
        Up_NuloEnglishError(4);
        failures += Up_GetThreadLoggingBuffer() != shared;
    }
    failures += std::strcmp(shared, "Out of memory.") != 0;
    failures += Up_GetThreadLastError() != 0;
    failures += Up_GetThreadLoggingBuffer() == shared;
    return failures;
}
} // namespace

TEST(ThreadState, IsEmptyUntilAThreadReports)
{
    OnFreshThread([] {
        ExpectNothingReported();
        EXPECT_EQ(Up_GetThreadLastError(), 0u);
        EXPECT_EQ(Up_GetThreadLastSeverity(), 0);
        EXPECT_EQ(Up_GetThreadLastLocation(), 0u);
        EXPECT_STREQ(Up_GetThreadLoggingBuffer(), "");
    });
}

TEST(ThreadState, IsEachThreadsOwn)
{
    OnFreshThread([] {
        char* const buffer = Up_GetThreadLoggingBuffer();
        U_CopyString("reading", U_ReportTextSize, buffer);
        EXPECT_EQ(Up_SetThreadLastError(5889), 5889u);
        OnFreshThread([=] {
            ExpectNothingReported();
            EXPECT_NE(Up_GetThreadLoggingBuffer(), buffer);
            Up_SetThreadLastError(3);
            U_CopyString("writing", U_ReportTextSize, Up_GetThreadLoggingBuffer());
            EXPECT_STREQ(LastError().text, "writing");
        });
        const LastError last;
        EXPECT_STREQ(last.text, "reading");
        EXPECT_EQ(last.error, 5889u);
        EXPECT_EQ(last.severity, 0);
        EXPECT_EQ(Up_GetThreadLoggingBuffer(), buffer);
    });
}

TEST(ThreadState, EachPlaceOfTheLastErrorMayBeLeftOut)
{
    OnFreshThread([] {
        Up_SetThreadLastError(7);
        EXPECT_EQ(U_GetLastError(nullptr, nullptr, nullptr, nullptr), 0);
        U_u32 error = 0;
        EXPECT_EQ(U_GetLastError(nullptr, nullptr, nullptr, &error), 0);
        EXPECT_EQ(error, 7u);
    });
}

TEST(ThreadState, AFullBufferIsToldWhole)
{
    OnFreshThread([] {
        const std::string full(U_ReportTextSize - 1, 'x');
        std::memcpy(Up_GetThreadLoggingBuffer(), full.c_str(), U_ReportTextSize);
        EXPECT_EQ(LastError().text, full);
    });
}

TEST(ThreadStateDeathTest, WithoutMemoryAllThreadsShareOneBuffer)
{
    SKIP_UNDER_SANITIZERS();
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(FailuresWithoutMemory()), testing::ExitedWithCode(0), "");
}
