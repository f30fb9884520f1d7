#include <cstring>

#include <sys/resource.h>

#include <tolv/memory.h>

#include "U_MemServices.h"
#include "tests/support/BornLibrary.h"

typedef BornLibrary MemServicesOnPosix;

TEST_F(MemServicesOnPosix, TheLibrarysFiguresDoNotNeedTheSystems)
{
    U_MemoryStats after;
    std::memset(&after, 0xEE, sizeof(after));
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none = {0, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_EQ(U_GetSystemMemoryStats(&after), 1) << "the system's files cannot be opened";
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(after.mFaults + after.mResident + after.mVirtual, 0u);
    EXPECT_EQ(after.mCalcMem, MEM_GetMemUsage());
}
