#include <platform/base/vectors.h>

#include <atomic>

namespace platform
{
namespace
{
std::atomic<bool> sAreOff(false);
} // namespace

bool HasVectors()
{
#if defined(__x86_64__)
    return __builtin_cpu_supports("avx2") && !sAreOff.load(std::memory_order_relaxed);
#else
    return false;
#endif
}

void SetVectors(bool on)
{
    sAreOff = !on;
}
} // namespace platform
