#include "tests/instrumentation/MemoryLogTest.h"

#include <cerrno>

#include <unistd.h>

#include "tests/instrumentation/PrivateLog.h"

namespace
{
std::string OwnPath()
{
    return "/bc_memory." + std::to_string(getpid()) + ".log";
}

std::FILE* OpenRedirected(const char* path)
{
    errno = ENOENT; // for another path
    return path == OwnPath() ? std::fopen(MemoryLogPath().c_str(), "a") : nullptr;
}
} // namespace

void RedirectMemoryLog()
{
    gOpenPrivateLog = &OpenRedirected;
}

std::string MemoryLogPath()
{
    return testing::TempDir() + OwnPath();
}
