// Memory, exceptions, and arguments that the operating system and the in-house libraries refuse.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <utility>

#include <gtest/gtest.h>

#include <platform/control.h>
#include <tolv/memory.h>
#include <tolv/profile.h>
#include <tolv/text.h>
#include <tolv/toolbox.h>
#include <win32/clocks.h>
#include <win32/locale.h>
#include <win32/machine.h>
#include <win32/memory.h>
#include <win32/process.h>
#include <win32/text.h>
#include <win32/threads.h>
#include <zelboxmp/xmp.h>

#include "tests/support/System.h"

namespace
{
TEST(Win32Threads, AnyOtherExceptionEndsTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(win32::RaiseException(0xC0000005u, 0, 0, nullptr),
                EndsBy(IsWindows() ? kBadAccess : kAborted), IsWindows() ? "" : "C0000005");
}

TEST(VirtualMemory, RangesAreAlignedAndReleasedWhole)
{
    const unsigned int kBoth = win32::kMemReserve | win32::kMemCommit;
    for (const std::size_t size : {0x1, 0x1001, 0x10000, 0x300000})
    {
        SCOPED_TRACE(size);
        void* const address = win32::VirtualAlloc(nullptr, size, kBoth, win32::kPageReadWrite);
        ASSERT_NE(address, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(address) % 0x10000, 0u);
        char* const block = static_cast<char*>(address);
        EXPECT_EQ(std::count(block, block + size, 0), static_cast<std::ptrdiff_t>(size));
        std::memset(block, 0xA5, size);
        EXPECT_FALSE(win32::VirtualFree(block + 1, 0, win32::kMemRelease));
        EXPECT_FALSE(win32::VirtualFree(block, size, win32::kMemRelease));
        EXPECT_FALSE(win32::VirtualFree(block, 0, 0));
        EXPECT_TRUE(win32::VirtualFree(block, 0, win32::kMemRelease));
        EXPECT_FALSE(win32::VirtualFree(block, 0, win32::kMemRelease));
        EXPECT_FALSE(IsReadable(block));
        EXPECT_FALSE(IsReadable(block + size - 1));
    }
}

TEST(VirtualMemory, AReservationIsNotReadableAndAnImpossibleSizeIsRefused)
{
    const auto reserve = [](std::size_t size) {
        return win32::VirtualAlloc(nullptr, size, win32::kMemReserve, win32::kPageNoAccess);
    };
    void* const block = reserve(1ull << 36);
    ASSERT_NE(block, nullptr);
    EXPECT_FALSE(IsReadable(block));
    EXPECT_TRUE(win32::VirtualFree(block, 0, win32::kMemRelease));
    for (const std::size_t size : {std::size_t(0), SIZE_MAX, SIZE_MAX - 0x10000})
        EXPECT_EQ(reserve(size), nullptr);
}

TEST(PhysicalMemory, TheHostsFiguresReplaceTheRealFigures)
{
    win32::MEMORYSTATUSEX real = {sizeof(real), 0, 0, 0};
    ASSERT_TRUE(win32::GlobalMemoryStatusEx(&real));
    EXPECT_GT(real.ullAvailPhys, 0u);
    EXPECT_GE(real.ullTotalPhys, real.ullAvailPhys);

    win32::MEMORYSTATUSEX status = {sizeof(status), 0, 0, 0};
    platform::SetPhysicalMemory(8ull << 30, 2ull << 30);
    ASSERT_TRUE(win32::GlobalMemoryStatusEx(&status));
    EXPECT_EQ(status.ullTotalPhys, 8ull << 30);
    EXPECT_EQ(status.ullAvailPhys, 2ull << 30);
    EXPECT_EQ(status.dwMemoryLoad, 75u);
    platform::ResetAll();
    ASSERT_TRUE(win32::GlobalMemoryStatusEx(&status));
    EXPECT_EQ(status.ullTotalPhys, real.ullTotalPhys);

    status.dwLength = 0;
    EXPECT_FALSE(win32::GlobalMemoryStatusEx(&status));
}

TEST(Clocks, ATimeBefore1970HasNoFields)
{
    for (const long long seconds : {-1ll, -43201ll})
    {
        EXPECT_EQ(win32::_gmtime64(&seconds), nullptr) << seconds;
        EXPECT_EQ(win32::_localtime64(&seconds), nullptr) << seconds;
    }
}

const unsigned int kUser = win32::kLocaleUserDefault;

typedef std::pair<const char*, std::function<int()>> Call;

void ExpectError(const Call& call, unsigned int error)
{
    SCOPED_TRACE(call.first);
    win32::SetLastError(0);
    EXPECT_EQ(call.second(), 0);
    EXPECT_EQ(win32::GetLastError(), error);
}

int TakePicture(unsigned short*, unsigned int, long long)
{
    return 0;
}

TEST(SystemRefusals, AFailedCallStoresItsReasonAsTheLastError)
{
    unsigned short name[] = {'x', 0};
    char* const over = reinterpret_cast<char*>(name);
    win32::SYSTEMTIME day = {2026, 11, 3, 25, 0, 0, 0, 0};
    const win32::SYSTEMTIME noTimes[] = {
        {2026, 2, 1, 30, 0, 0, 0, 0},  {2026, 2, 1, 0, 0, 0, 0, 0},   {2026, 0, 1, 28, 0, 0, 0, 0},
        {2026, 13, 1, 28, 0, 0, 0, 0}, {1600, 2, 1, 28, 0, 0, 0, 0},  {2026, 2, 1, 28, 24, 0, 0, 0},
        {2026, 2, 1, 28, 0, 60, 0, 0}, {2026, 2, 1, 28, 0, 0, 60, 0},
    };
    const win32::FILETIME farTime = {0, 0x80000000};
    const Call kBadParameters[] = {
        {"computer's name", [] { return win32::GetComputerNameW(nullptr, nullptr); }},
        {"user's name", [] { return win32::GetUserNameW(nullptr, nullptr); }},
        {"processors", [] { return win32::GetLogicalProcessorInformation(nullptr, nullptr); }},
        {"another locale's mark",
         [] { return win32::GetLocaleInfoA(0x407, win32::kLocaleDecimalMark, nullptr, 0); }},
        {"no time", [] { return win32::GetDateFormatW(kUser, 0, nullptr, nullptr, nullptr, 0); }},
        {"a negative size",
         [&] { return win32::GetLocaleInfoW(kUser, win32::kLocaleDecimalMark, name, -1); }},
        {"a picture of times",
         [&] { return win32::GetTimeFormatW(kUser, 0, &day, name, nullptr, 0); }},
        {"no room for a date",
         [&] { return win32::GetDateFormatW(kUser, 0, &day, nullptr, nullptr, 99); }},
        {"a time before 1601", [&] { return win32::FileTimeToSystemTime(&farTime, &day); }},
        {"a text over its source",
         [&] { return win32::WideCharToMultiByte(0, 0, name, 2, over, 4, nullptr, nullptr); }},
        {"no callback",
         [] { return win32::EnumDateFormatsExEx(nullptr, nullptr, win32::kDateShortDate, 0); }},
        {"another locale's dates",
         [&] { return win32::EnumDateFormatsExEx(&TakePicture, name, win32::kDateShortDate, 0); }},
    };
    for (const Call& call : kBadParameters)
        ExpectError(call, win32::kErrorInvalidParameter);
    for (const win32::SYSTEMTIME& time : noTimes)
    {
        const auto format = [&] {
            return win32::GetDateFormatW(kUser, 0, &time, nullptr, nullptr, 0) &&
                   win32::GetTimeFormatW(kUser, 0, &time, nullptr, nullptr, 0);
        };
        ExpectError({"no time", format}, win32::kErrorInvalidParameter);
    }

    const Call kBadFlags[] = {
        {"an unknown item", [] { return win32::GetLocaleInfoW(kUser, 1, nullptr, 0); }},
        {"dates", [&] { return win32::GetDateFormatW(kUser, 4, &day, nullptr, nullptr, 0); }},
        {"a picture with flags",
         [&] { return win32::GetDateFormatW(kUser, 1, &day, name, nullptr, 0); }},
        {"times", [&] { return win32::GetTimeFormatW(kUser, 1, &day, nullptr, nullptr, 0); }},
        {"both dates", [] { return win32::EnumDateFormatsExEx(&TakePicture, nullptr, 3, 0); }},
    };
    for (const Call& call : kBadFlags)
        ExpectError(call, win32::kErrorInvalidFlags);
}

TEST(SystemRefusals, OtherProcessesThreadsAndHeapsAreRefused)
{
    win32::PROCESS_MEMORY_COUNTERS counters = {};
    EXPECT_EQ(win32::GetProcessMemoryInfo(nullptr, &counters, sizeof(counters)), 0);
    void* const process = win32::GetCurrentProcess();
    EXPECT_EQ(win32::GetProcessMemoryInfo(process, &counters, sizeof(counters) - 1), 0);
    EXPECT_NE(win32::GetProcessMemoryInfo(process, &counters, sizeof(counters)), 0);
    EXPECT_GE(counters.PeakWorkingSetSize, counters.WorkingSetSize);
    EXPECT_GT(counters.WorkingSetSize, 0u);
    EXPECT_FALSE(win32::IsProcessorFeaturePresent(1000));
    EXPECT_EQ(win32::SetThreadPriority(nullptr, 0), 0);
    const unsigned int compactions = platform::HeapCompactCount();
    EXPECT_EQ(win32::HeapCompact(nullptr, 0), 0u);
    win32::HeapCompact(win32::GetProcessHeap(), 0);
    EXPECT_EQ(platform::HeapCompactCount(), compactions + 1);
    EXPECT_EQ(MEM_Report(nullptr, 1), 0);
    EXPECT_EQ(NewHandle(-1), nullptr);
    EXPECT_EQ(GetHandleSize(nullptr), 0);
    AddResource(nullptr);
    EXPECT_EQ(ResError(), -194);
    DetachResource(nullptr);
    EXPECT_EQ(ResError(), -192);
    EXPECT_EQ(GetScriptManagerVariable(0), 0);
}

TEST(SystemRefusals, ANullPointerIsABadParameter)
{
    static const unsigned short kKey[] = {'k', 0};
    unsigned long long limit = 0;
    int value = 0;
    const Call kCalls[] = {
        {"prepurge", [&] { return MEM_GetMemUsageLimits(nullptr, &limit); }},
        {"maximum", [&] { return MEM_GetMemUsageLimitsOverride(&limit, nullptr); }},
        {"claim", [] { return MEM_ClaimUsage(1, 1, 1, nullptr, nullptr); }},
        {"use", [] { return TOLV_TotalMemoryUsed(nullptr); }},
        {"slop", [] { return TOLV_GetSlop(nullptr); }},
        {"key", [&] { return TOLV_GetProfileInt(nullptr, 1, &value); }},
        {"required key", [&] { return TOLV_GetRequiredProfileInt(nullptr, &value); }},
        {"profile", [] { return TOLV_GetRequiredProfileInt(kKey, nullptr); }},
        {"new key", [] { return TOLV_SetProfileInt(nullptr, 1); }},
    };
    for (const auto& [what, call] : kCalls)
        EXPECT_EQ(call(), -50) << what;
}

TEST(SystemRefusals, APacketRefusesSettings)
{
    __XMPMeta__* const metadata = zelboxmp::NewMetadata();
    bool stored = false;
    const auto store = [](void* client, const char*, unsigned int) {
        *static_cast<bool*>(client) = true;
    };
    zelboxmp::Result result = {};
    zelboxmp::Ordinal61(metadata, &stored, 0, 2048, "", "", 0, store, &result);
    EXPECT_EQ(result.errorCode, zelboxmp::kErrorBadSettings);
    EXPECT_STREQ(result.errorText, "Unknown settings for a packet");
    EXPECT_FALSE(stored);
    zelboxmp::Ordinal6(metadata);
}
} // namespace
