#include "memory_allocators.h"

#include <cstdio>

#include <dlfcn.h>
#include <unistd.h>

namespace
{
// Room for jemalloc's thread-local variables, which a library that is loaded at run time does not
// have otherwise. tcmalloc maps its memory, since the C library enlarges the data segment.
const char* const kSettings[][2] = {{"GLIBC_TUNABLES", "glibc.rtld.optional_static_tls=8192"},
                                    {"TCMALLOC_SKIP_SBRK", "1"}};

void RestartWithSettings(char** argv)
{
    bool isMissing = false;
    for (const auto& [name, value] : kSettings)
    {
        if (std::getenv(name))
            continue;
        ::setenv(name, value, 1);
        isMissing = true;
    }
    if (isMissing)
        ::execv("/proc/self/exe", argv);
}

template <class Library> bool Load()
{
    void* const library = ::dlopen(Library::kNames[0], RTLD_NOW | RTLD_LOCAL);
    if (!library)
    {
        std::fprintf(stderr, "%s\n", ::dlerror());
        return false;
    }
    Library::sAllocate =
        reinterpret_cast<void* (*)(std::size_t)>(::dlsym(library, Library::kNames[1]));
    Library::sFree = reinterpret_cast<void (*)(void*)>(::dlsym(library, Library::kNames[2]));
    return Library::sAllocate && Library::sFree;
}
} // namespace

bool LoadAllocators(char** argv)
{
    RestartWithSettings(argv);
    return Load<Mimalloc>() && Load<Jemalloc>() && Load<Tcmalloc>();
}
