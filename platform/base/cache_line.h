// What threads that write beside each other keep apart.

#ifndef PLATFORM_BASE_CACHE_LINE_H
#define PLATFORM_BASE_CACHE_LINE_H

#include <cstddef>

namespace platform
{
const std::size_t kCacheLine = 64; // bytes
} // namespace platform

#endif
