#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

#include <unistd.h>

#include <platform/control.h>
#include <win32/memory.h>
#include <win32/threads.h>

namespace
{
TEST(Win32Threads, AnyOtherExceptionEndsTheProcess)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(win32::RaiseException(0xC0000005u, 0, 0, nullptr), testing::KilledBySignal(SIGABRT),
                "C0000005");
}

// Lets the system read the byte, since a read here would fault.
bool IsReadable(const void* address)
{
    int ends[2];
    if (pipe(ends) != 0)
        return false;
    const bool readable = write(ends[1], address, 1) == 1;
    close(ends[0]);
    close(ends[1]);
    return readable;
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
        EXPECT_TRUE(win32::VirtualFree(block, 0, win32::kMemRelease));
        EXPECT_FALSE(win32::VirtualFree(block, 0, win32::kMemRelease));
        EXPECT_FALSE(IsReadable(block));
        EXPECT_FALSE(IsReadable(block + size - 1));
    }
}

TEST(VirtualMemory, AReservationIsNotReadable)
{
    void* block =
        win32::VirtualAlloc(nullptr, 1ull << 36, win32::kMemReserve, win32::kPageNoAccess);
    ASSERT_NE(block, nullptr);
    EXPECT_FALSE(IsReadable(block));
    EXPECT_TRUE(win32::VirtualFree(block, 0, win32::kMemRelease));
}

TEST(VirtualMemory, RefusesSizesThatNoRangeHas)
{
    const unsigned int kBoth = win32::kMemReserve | win32::kMemCommit;
    for (const std::size_t size : {std::size_t(0), SIZE_MAX, SIZE_MAX - 0x10000})
        EXPECT_EQ(win32::VirtualAlloc(nullptr, size, kBoth, win32::kPageReadWrite), nullptr);
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
} // namespace
