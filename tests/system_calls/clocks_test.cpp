// The clocks of a system that lacks the one that counts its sleep, as some sandboxes do. This
// program replaces the C library's function, which makes no call to the system.

#include <atomic>
#include <cerrno>
#include <ctime>

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <win32/clocks.h>

namespace
{
std::atomic<bool> sLacksBootTime{false};

long long Monotonic()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}
} // namespace

#pragma GCC visibility push(default)
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    if (clock != CLOCK_BOOTTIME || !sLacksBootTime)
        return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    errno = EINVAL;
    return -1;
}
#pragma GCC visibility pop

TEST(Clocks, CountWithoutSleepIfTheSystemDoesNotCountSleep)
{
    sLacksBootTime = true;
    const long long before = Monotonic();
    long long counts = 0;
    EXPECT_NE(win32::QueryPerformanceCounter(&counts), 0);
    const unsigned int ticks = win32::GetTickCount();
    const long long after = Monotonic();
    sLacksBootTime = false;
    EXPECT_GE(counts, before);
    EXPECT_LE(counts, after);
    const unsigned int first = static_cast<unsigned int>(before / 1000000);
    EXPECT_LE(ticks - first, static_cast<unsigned int>((after - before) / 1000000 + 1));
}
