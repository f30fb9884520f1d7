#include "tests/support/NoMemory.h"

#include <cstdio>
#include <cstdlib>

#include <sys/resource.h>
#include <unistd.h>

namespace
{
rlim_t AddressSpace()
{
    unsigned long pages = 0;
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    if (!file || std::fscanf(file, "%lu", &pages) != 1)
        std::abort();
    std::fclose(file);
    return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}
} // namespace

bool MemoryCanBeLimited()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}

ScAddressSpaceLimit::ScAddressSpaceLimit(unsigned long long room)
{
    rlimit limit = {};
    getrlimit(RLIMIT_AS, &limit);
    mBefore = limit.rlim_cur;
    limit.rlim_cur = AddressSpace() + room;
    setrlimit(RLIMIT_AS, &limit);
}

ScAddressSpaceLimit::~ScAddressSpaceLimit()
{
    rlimit limit = {};
    getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = mBefore;
    setrlimit(RLIMIT_AS, &limit);
}
