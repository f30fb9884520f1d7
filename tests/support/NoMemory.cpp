#include "tests/support/NoMemory.h"

#include <cstdio>
#include <cstdlib>
#include <new>

#include <sys/resource.h>
#include <unistd.h>

namespace
{
const std::size_t kRoom = 1 << 20; // bytes

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

ScNoMemory::ScNoMemory() : mLimit(kRoom)
{
    for (std::size_t size = kRoom; size >= sizeof(Block); size /= 2)
    {
        while (void* taken = std::malloc(size))
            mBlocks = new (taken) Block{mBlocks};
    }
}

ScNoMemory::~ScNoMemory()
{
    while (Block* block = mBlocks)
    {
        mBlocks = block->next;
        std::free(block);
    }
}
