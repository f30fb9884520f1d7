// Memory, files and exceptions where the system has a form of its own.

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include <platform/control.h>
#include <win32/exceptions.h>
#include <win32/memory.h>
#include <win32/native/paths.h>
#include <win32/process.h>

namespace
{
TEST(SystemMemory, TheGuardOfAPageIsKeptByALookAtThePage)
{
    const std::size_t kPage = 0x1000;
    char* const pages = static_cast<char*>(
        ::VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    ASSERT_NE(pages, nullptr);
    DWORD before = 0;
    ASSERT_TRUE(::VirtualProtect(pages + kPage, kPage, PAGE_READWRITE | PAGE_GUARD, &before));
    for (int look = 0; look < 2; ++look)
    {
        EXPECT_FALSE(win32::IsBadReadPtr(pages, kPage));
        EXPECT_TRUE(win32::IsBadReadPtr(pages + kPage - 1, 2));
    }
    EXPECT_FALSE(win32::IsBadReadPtr(nullptr, 0));
    EXPECT_TRUE(win32::IsBadReadPtr(pages, ~std::size_t(0)));
    ::VirtualFree(pages, 0, MEM_RELEASE);
}

TEST(SystemFiles, APrivateLogMayHaveALongNameInTheActiveCodePage)
{
    platform::SetActiveCodePage(65001);
    wchar_t temporary[MAX_PATH] = {};
    ::GetTempPathW(MAX_PATH, temporary);
    const std::string folder = win32::UTF8Of(temporary) + "log-" +
                               std::to_string(::GetCurrentProcessId()) + std::string(200, 'x');
    const std::string path = folder + "\\caf\xC3\xA9-" + std::string(200, 'y');
    ASSERT_TRUE(::CreateDirectoryW(win32::SystemPath(folder).c_str(), nullptr));
    std::FILE* const file = win32::OpenPrivateLog(path.c_str());
    EXPECT_NE(file, nullptr);
    if (file)
        std::fclose(file);
    EXPECT_TRUE(::DeleteFileW(win32::SystemPath(path).c_str()));
    EXPECT_TRUE(::RemoveDirectoryW(win32::SystemPath(folder).c_str()));
    platform::ResetAll();
}

int volatile sDepth = 0;

__attribute__((noinline)) int Overflow(int depth)
{
    volatile char frame[4096];
    frame[0] = static_cast<char>(depth);
    return depth == -1 ? 0 : Overflow(depth + 1) + frame[0];
}

TEST(SystemExceptions, AStackOverflowIsLeftMoreThanOnce)
{
    const auto overflow = [](void*) { sDepth = Overflow(0); };
    for (int time = 0; time < 3; ++time)
        EXPECT_FALSE(win32::CallUntilException(overflow, nullptr)) << time;
    EXPECT_TRUE(win32::CallUntilException([](void*) {}, nullptr));
}
} // namespace
