#include "tests/instrumentation/PrivateLog.h"

#include <dlfcn.h>

#include <win32/process.h>

std::FILE* (*gOpenPrivateLog)(const char* path) = nullptr;

// The dynamic linker binds the library to this function, too.
std::FILE* win32::OpenPrivateLog(const char* path)
{
    typedef std::FILE* (*Function)(const char*);
    static const Function original =
        reinterpret_cast<Function>(dlsym(RTLD_NEXT, "_ZN5win3214OpenPrivateLogEPKc"));
    return gOpenPrivateLog ? gOpenPrivateLog(path) : original(path);
}
