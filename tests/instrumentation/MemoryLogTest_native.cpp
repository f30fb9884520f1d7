#include "tests/instrumentation/MemoryLogTest.h"

#include <filesystem>

#include <krobase/threads.h>

// The log is in the root of the current drive. Under Wine, the user may not write to the root of
// the drive that has the build folder.
void RedirectMemoryLog()
{
    std::filesystem::current_path(testing::TempDir());
}

std::string MemoryLogPath()
{
    return "/bc_memory." + std::to_string(krobase::threads::GetCurrentProcessID()) + ".log";
}
