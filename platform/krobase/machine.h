// Facts of the machine. Any thread.

#ifndef KROBASE_MACHINE_H
#define KROBASE_MACHINE_H

#include <platform/base/export.h>

namespace krobase
{
namespace utility
{
// The machine's physical memory in bytes.
PLATFORM_EXPORT unsigned long long TotalPhysicalMemory();

// The logical processors that the process may use, at least 1.
PLATFORM_EXPORT int CPUCount();

// An address on the calling thread's stack, which grows downward: the deeper the
// caller, the lower. Differences between callers are those of their depths.
PLATFORM_EXPORT char* StackAddress();
} // namespace utility
} // namespace krobase

#endif
