// What stands for a character where it is missing.

#ifndef WIN32_POSIX_BEST_FIT_H
#define WIN32_POSIX_BEST_FIT_H

#include "conversion.h"

namespace win32
{
// The character one step simpler than a unit, 0 if there is none. It stands in
// for the operating system's own lists of best fits, which it comes near.
Unit SimplerUnit(Unit unit);
} // namespace win32

#endif
