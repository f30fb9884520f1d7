// Whether code with vectors runs.

#ifndef PLATFORM_BASE_VECTORS_H
#define PLATFORM_BASE_VECTORS_H

#include <platform/base/export.h>

namespace platform
{
// Returns true if the processor has AVX2, unless SetVectors has turned vectors off. Any
// thread may call this function.
PLATFORM_EXPORT bool HasVectors();

// For tests: sets whether code with vectors runs on processors that have AVX2. The default is true.
// The results are the same.
PLATFORM_EXPORT void SetVectors(bool on);
} // namespace platform

#endif
