// The memory log at the end of a process, where the system ends the log thread before the static
// destructors of the library.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <krobase/threads.h>
#include <platform/control.h>

#include "U_Lifecycle.h"

namespace
{
std::size_t LinesOf(const std::string& path)
{
    std::ifstream file(path);
    std::size_t count = 0;
    for (std::string line; std::getline(file, line); ++count)
        continue;
    return count;
}

// Writes rows until the process ends. Returns the status of the process.
int LogToTheEnd()
{
    platform::SetDebugSetting("MemoryYoYoLog", "true");
    platform::SetDebugSetting("MemoryYoYoLogInterval", "1");
    if (U_Birth("Memory Log", nullptr) != 0)
        return 1;
    const std::string path =
        "/bc_memory." + std::to_string(krobase::threads::GetCurrentProcessID()) + ".log";
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    std::size_t lines = 0;
    while (lines < 5 && std::chrono::steady_clock::now() < end)
    {
        std::this_thread::yield();
        lines = LinesOf(path);
    }
    U_Death();
    return lines < 5 ? 2 : 0;
}
} // namespace

TEST(MemoryLogDeathTest, TheProcessEndsWhileRowsAreWritten)
{
    EXPECT_EXIT(std::exit(LogToTheEnd()), testing::ExitedWithCode(0), "");
    for (const auto& file : std::filesystem::directory_iterator("/"))
    {
        if (file.path().filename().string().rfind("bc_memory.", 0) == 0)
            std::filesystem::remove(file.path());
    }
}
