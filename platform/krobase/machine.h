// Facts of the machine.
//
//     const int workers = krobase::utility::CPUCount();
//     const unsigned long long memory = krobase::utility::TotalPhysicalMemory();
//
// Thread safety: all functions may be called on any thread.

#ifndef KROBASE_MACHINE_H
#define KROBASE_MACHINE_H

#include <platform/base/export.h>

namespace krobase
{
namespace utility
{
// Returns the physical memory in bytes, or 0 if the system does not know.
PLATFORM_EXPORT unsigned long long TotalPhysicalMemory();

// Returns the number of logical processors, at least 1.
PLATFORM_EXPORT int CPUCount();

// Returns an address in the stack frame of the calling thread. The stack grows downward, so a
// deeper caller has a lower address. The difference of two addresses is the difference of the
// depths, in bytes.
PLATFORM_EXPORT char* StackAddress();
} // namespace utility
} // namespace krobase

#endif
