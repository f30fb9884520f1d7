// The memory of threads that have ended.

#include <thread>

#include <boost/thread/thread.hpp>

#include <tolv/memory.h>
#include <win32/exceptions.h>
#include <win32/message_queue.h>
#include <win32/process.h>

#include "U_Alloc.h"
#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"

namespace
{
typedef BornLibrary ThreadEnd;

long long PrivateBytes()
{
    win32::PROCESS_MEMORY_COUNTERS counters = {};
    win32::GetProcessMemoryInfo(win32::GetCurrentProcess(), &counters, sizeof(counters));
    return static_cast<long long>(counters.PagefileUsage);
}

// Makes the objects that the library keeps for a thread until the thread ends.
void UseTheLibrary()
{
    U_FreePtr(U_AllocatePtrQuiet(100));
    Up_GetThreadLoggingBuffer();
    win32::KeepStackForFilter();
    win32::MSG message;
    win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekNoRemove);
}

// An object of a host that uses the library at the end of its thread.
struct UserAtEnd
{
    ~UserAtEnd() { UseTheLibrary(); }
    bool mIsUsed = false;
};
thread_local UserAtEnd tUserAtEnd;

void UseTheLibraryUntilTheEnd()
{
    UseTheLibrary();
    tUserAtEnd.mIsUsed = true; // makes the object
}

template <class Thread> void RunThreads(int count, void (*function)())
{
    for (int i = 0; i < count; ++i)
        Thread(function).join();
}
} // namespace

TEST_F(ThreadEnd, NoMemoryOfTheThreadIsLeft)
{
    SKIP_UNDER_SANITIZERS(); // they keep memory that is freed
    if (MEM_KeepsOrigins)
        GTEST_SKIP() << "the checked heap keeps the slots of freed blocks";
    RunThreads<std::thread>(100, &UseTheLibraryUntilTheEnd);
    RunThreads<boost::thread>(100, &UseTheLibrary);
    const long long kRoom = 100 << 10; // bytes; 50 a thread
    const long long before = PrivateBytes();
    RunThreads<std::thread>(2000, &UseTheLibraryUntilTheEnd);
    const long long between = PrivateBytes();
    RunThreads<boost::thread>(2000, &UseTheLibrary);
    EXPECT_LT(between - before, kRoom);
    EXPECT_LT(PrivateBytes() - between, kRoom);
}
