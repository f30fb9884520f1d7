// Threads without a stored record of the heap, and after the end of their record.

#include <atomic>
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

// Destructors of a thread's keys run in the order in which the keys were made.
TEST(ThreadRecord, IsNotUsedByADestructorAfterANewThreadHasTakenItOver)
{
    static std::atomic<int> sUsers(0);
    const auto use = [](void* user) { // null: once
        static const MEM_HeapRef kHeap = MEM_NewHeap();
        for (sUsers += user != nullptr; user && sUsers < 2;)
            std::this_thread::yield();
        for (int i = 0; i < (user ? 300000 : 1); ++i)
        {
            void* const block = MEM_NewPtrDebug(kHeap, sizeof(user), nullptr, nullptr, 0);
            EXPECT_EQ(*new (block) std::atomic<void*>(user), user);
            MEM_DisposePtr(kHeap, block);
        }
    };
    pthread_key_t key;
    use(nullptr); // makes the heap's key
    ASSERT_EQ(pthread_key_create(&key, use), 0);
    std::thread ending([&] {
        use(nullptr);
        pthread_setspecific(key, &key);
    });
    while (!sUsers)
        std::this_thread::yield();
    std::thread(use, &sUsers).join();
    ending.join();
    pthread_key_delete(key);
}
