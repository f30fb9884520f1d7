// Threads.

#ifndef KROBASE_THREADS_H
#define KROBASE_THREADS_H

#include "../export.h"

namespace krobase
{
namespace threads
{
PLATFORM_EXPORT unsigned int GetCurrentThreadID();
PLATFORM_EXPORT unsigned int GetCurrentProcessID();
} // namespace threads
} // namespace krobase

#endif
