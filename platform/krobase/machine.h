// Facts of the machine.

#ifndef KROBASE_MACHINE_H
#define KROBASE_MACHINE_H

#include "../export.h"

namespace krobase
{
namespace utility
{
// The machine's physical memory in bytes.
PLATFORM_EXPORT unsigned long long TotalPhysicalMemory();
} // namespace utility
} // namespace krobase

#endif
