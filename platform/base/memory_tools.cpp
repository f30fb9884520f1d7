#include "memory_tools.h"

// The requests are instructions without an effect outside valgrind, so the library that is
// shipped contains them.
#if defined(__linux__)
#include <valgrind/memcheck.h>
#endif

#if defined(__ELF__)
// Functions of the address sanitizer. Their addresses are null in a process without it. Weak,
// since a host may be built with the sanitizer while this library is built without it.
extern "C" __attribute__((weak)) void __asan_poison_memory_region(const volatile void*,
                                                                  std::size_t);
extern "C" __attribute__((weak)) void __asan_unpoison_memory_region(const volatile void*,
                                                                    std::size_t);
// The functions that instrumented code calls for a load.
extern "C" __attribute__((weak)) void __asan_loadN(const volatile void*, std::size_t);
#endif

namespace platform
{
namespace
{
bool RunsOnValgrind()
{
#if defined(__linux__)
    return RUNNING_ON_VALGRIND != 0;
#else
    return false;
#endif
}

bool HasAddressSanitizer()
{
#if defined(__ELF__)
    return __asan_poison_memory_region && __asan_unpoison_memory_region;
#else
    return false;
#endif
}
} // namespace

bool MemoryIsWatched()
{
    static const bool isWatched = HasAddressSanitizer() || RunsOnValgrind();
    return isWatched;
}

void HideMemory([[maybe_unused]] const void* start, [[maybe_unused]] std::size_t size)
{
#if defined(__ELF__)
    if (HasAddressSanitizer())
        __asan_poison_memory_region(start, size);
#endif
#if defined(__linux__)
    VALGRIND_MAKE_MEM_NOACCESS(start, size);
#endif
}

void RevealMemory([[maybe_unused]] const void* start, [[maybe_unused]] std::size_t size)
{
#if defined(__ELF__)
    if (HasAddressSanitizer())
        __asan_unpoison_memory_region(start, size);
#endif
#if defined(__linux__)
    VALGRIND_MAKE_MEM_DEFINED(start, size);
#endif
}

void TouchMemory(const void* byte)
{
#if defined(__ELF__)
    if (__asan_loadN)
        __asan_loadN(byte, 1);
#endif
    static_cast<void>(*static_cast<const volatile unsigned char*>(byte)); // for valgrind
}

ScHiddenReads::ScHiddenReads()
{
#if defined(__linux__)
    VALGRIND_DISABLE_ERROR_REPORTING;
#endif
}

ScHiddenReads::~ScHiddenReads()
{
#if defined(__linux__)
    VALGRIND_ENABLE_ERROR_REPORTING;
#endif
}
} // namespace platform
