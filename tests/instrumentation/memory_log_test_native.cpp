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

const char kPathFile[] = "memory_log_path.txt"; // has the path of the child's log

// Writes rows until the process ends. Returns the status of the process.
int LogToTheEnd()
{
    platform::SetDebugSetting("MemoryYoYoLog", "true");
    platform::SetDebugSetting("MemoryYoYoLogInterval", "1");
    if (U_Birth("Memory Log", nullptr) != 0)
        return 1;
    const std::string path =
        "/bc_memory." + std::to_string(krobase::threads::GetCurrentProcessID()) + ".log";
    std::ofstream(kPathFile) << path;
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
    // The log is in the root of the current drive. Under Wine, the user may not write to the root
    // of the drive that has the build folder.
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(testing::TempDir());
    EXPECT_EXIT(std::exit(LogToTheEnd()), testing::ExitedWithCode(0), "");
    std::string path;
    std::getline(std::ifstream(kPathFile), path);
    std::filesystem::remove(path);
    std::filesystem::remove(kPathFile);
    std::filesystem::current_path(before);
}
