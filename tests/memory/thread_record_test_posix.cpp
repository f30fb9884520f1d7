// Threads for which the system has no memory to store the heap's record.

#include <cerrno>
#include <thread>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>

#include <tolv/memory.h>

#include "tests/support/ExpectedLeaks.h"

// The thread sanitizer calls pthread_setspecific before a new thread may run checked code.
#if !defined(__SANITIZE_THREAD__)
namespace
{
thread_local bool tStoresNothing = false;
} // namespace

// Replaces the C library's function, also in Boost.
extern "C" __attribute__((visibility("default"))) int
pthread_setspecific(pthread_key_t key, const void* value) noexcept
{
    typedef int (*Function)(pthread_key_t, const void*);
    static const Function original =
        reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_setspecific"));
    return tStoresNothing ? ENOMEM : original(key, value);
}

TEST(ThreadRecord, AThreadWhoseRecordIsNotStoredLeavesNoChargeBehind)
{
    const unsigned long long kMiB = 1 << 20;
    const unsigned long long before = MEM_GetMemUsage();
    std::thread([&] {
        const ScExpectedLeaks expected; // Boost loses its own data of the thread
        tStoresNothing = true;
        MEM_Claim claim; // the thread ends inside an allocation
        EXPECT_EQ(MEM_ClaimUsage(kMiB, kMiB, before + 2 * kMiB, nullptr, &claim), 0);
        tStoresNothing = false;
    }).join();
    EXPECT_EQ(MEM_GetMemUsage(), before);
}
#endif
