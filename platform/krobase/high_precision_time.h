// A clock for spans of time. Any thread.

#ifndef KROBASE_HIGH_PRECISION_TIME_H
#define KROBASE_HIGH_PRECISION_TIME_H

#include <platform/base/export.h>

namespace krobase
{
namespace utility
{
namespace HighPrecisionTime
{
// Ticks since some moment before the process began; no change of the time of day
// moves them.
PLATFORM_EXPORT unsigned long long GetTickCount();

// A number of ticks in nanoseconds, at most the largest long long.
PLATFORM_EXPORT long long ConvertToNanos(unsigned long long ticks);
} // namespace HighPrecisionTime
} // namespace utility
} // namespace krobase

#endif
