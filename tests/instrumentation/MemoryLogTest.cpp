#include "tests/instrumentation/MemoryLogTest.h"

#include <chrono>
#include <fstream>
#include <thread>

#include <krobase/debug.h>
#include <krobase/threads.h>

std::string MemoryLogName()
{
    return "/bc_memory." + std::to_string(krobase::threads::GetCurrentProcessID()) + ".log";
}

std::string MemoryLogPath()
{
    return testing::TempDir() + MemoryLogName();
}

void SetMemoryLogFolder(const std::string& folder)
{
    krobase::debug::DebugDatabase::Instance().SetEntry("MemoryYoYoLogFolder", folder.c_str());
}

void AskForMemoryLog(const char* log, const char* interval)
{
    krobase::debug::DebugDatabase::Instance().SetEntry("MemoryYoYoLog", log);
    krobase::debug::DebugDatabase::Instance().SetEntry("MemoryYoYoLogInterval", interval);
}

Texts WaitForLines(std::size_t count)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    for (;;)
    {
        std::ifstream file(MemoryLogPath());
        Texts lines;
        for (std::string line; std::getline(file, line) && !file.eof();)
            lines.push_back(line);
        if (lines.size() >= count || std::chrono::steady_clock::now() > end)
            return lines;
        std::this_thread::yield();
    }
}

bool Continues()
{
    const std::size_t enough = WaitForLines(0).size() + 2;
    return WaitForLines(enough).size() >= enough;
}
