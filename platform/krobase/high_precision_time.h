// A clock for spans of time.
//
//     namespace Time = krobase::utility::HighPrecisionTime;
//     const unsigned long long start = Time::GetTickCount();
//     const long long elapsed = Time::ConvertToNanos(Time::GetTickCount() - start);
//
// Thread safety: all functions may be called on any thread.

#ifndef KROBASE_HIGH_PRECISION_TIME_H
#define KROBASE_HIGH_PRECISION_TIME_H

#include <platform/base/export.h>

namespace krobase
{
namespace utility
{
namespace HighPrecisionTime
{
// Returns the ticks since a fixed moment before the process began. Changes of the time of day
// have no effect.
PLATFORM_EXPORT unsigned long long GetTickCount();

// Returns a number of ticks in nanoseconds, at most the largest long long.
PLATFORM_EXPORT long long ConvertToNanos(unsigned long long ticks);
} // namespace HighPrecisionTime
} // namespace utility
} // namespace krobase

#endif
