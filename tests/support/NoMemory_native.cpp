// The limit is that of the address space: all free ranges but one are reserved. Wine keeps a byte
// for each page of a range, so the program that starts the tests under Wine limits the address
// space, and says so in the environment.

#include "tests/support/NoMemory.h"

#include <cstddef>
#include <cstdlib>
#include <iterator>

#include <win32/native/windows_api.h>

#include "tests/support/System.h"

namespace
{
const SIZE_T kLargest = SIZE_T(1) << 46; // bytes; half of the address space
const SIZE_T kSmallest = 0x10000;        // the system's unit of reservations

void* sRanges[0x10000];
std::size_t sCount = 0;

void* Reserve(SIZE_T size)
{
    return ::VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS);
}
} // namespace

bool MemoryCanBeLimited()
{
    return !IsWine() || std::getenv("ADDRESS_SPACE_IS_LIMITED");
}

ScAddressSpaceLimit::ScAddressSpaceLimit(unsigned long long room) : mBefore(sCount)
{
    void* const kept = Reserve(room);
    if (!kept)
        return; // the address space has less room
    for (SIZE_T size = kLargest; size >= kSmallest; size /= 2)
    {
        while (void* range = sCount < std::size(sRanges) ? Reserve(size) : nullptr)
            sRanges[sCount++] = range;
    }
    ::VirtualFree(kept, 0, MEM_RELEASE);
}

ScAddressSpaceLimit::~ScAddressSpaceLimit()
{
    while (sCount > mBefore)
        ::VirtualFree(sRanges[--sCount], 0, MEM_RELEASE);
}
