// Memory, files and exceptions where the system has a form of its own.

#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <krobase/stack_trace.h>
#include <platform/control.h>
#include <win32/exceptions.h>
#include <win32/memory.h>
#include <win32/native/paths.h>
#include <win32/process.h>

#include "tests/support/System.h"

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

// A folder with a long name, in a form for the system's functions.
class SystemFiles : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(::CreateDirectoryW(mFolder.c_str(), nullptr)); }
    void TearDown() override
    {
        EXPECT_TRUE(::RemoveDirectoryW(mFolder.c_str())) << "a file is left";
        platform::ResetAll();
    }

    static std::wstring Folder()
    {
        wchar_t temporary[MAX_PATH] = {};
        ::GetTempPathW(MAX_PATH, temporary);
        return win32::SystemForm(temporary + std::to_wstring(::GetTickCount64()) +
                                 std::wstring(200, 'x'));
    }

    std::wstring Path(const std::wstring& name) const { return mFolder + L"\\" + name; }

    const std::wstring mFolder = Folder();
};

TEST_F(SystemFiles, APrivateLogMayHaveALongNameInTheActiveCodePage)
{
    platform::SetActiveCodePage(65001);
    const std::wstring path = Path(L"caf\xE9-" + std::wstring(200, 'y'));
    std::FILE* const file = win32::OpenPrivateLog(win32::UTF8Of(path).c_str());
    EXPECT_NE(file, nullptr);
    if (file)
        std::fclose(file);
    EXPECT_TRUE(::DeleteFileW(path.c_str()));
}

TEST_F(SystemFiles, APrivateLogHasNoNameOutOfBytesThatAreNoText)
{
    const std::pair<unsigned int, const char*> kRows[] = {
        {65001, "\xED\xA0\x80"}, {65001, "a\xFF"}, {932, "a\x81"}};
    for (const auto& [codePage, name] : kRows)
    {
        SCOPED_TRACE(testing::PrintToString(name));
        platform::SetActiveCodePage(codePage);
        errno = 0;
        EXPECT_EQ(win32::OpenPrivateLog((win32::UTF8Of(Path(L"")) + name).c_str()), nullptr);
        EXPECT_EQ(errno, EILSEQ);
    }
}

TEST_F(SystemFiles, HalvesOfSurrogatePairsAreKeptInNames)
{
    const std::pair<std::wstring, const char*> kRows[] = {
        {L"", ""},
        {L"\xD83D\xDE00", "\xF0\x9F\x98\x80"},
        {L"\xD83D", "\xED\xA0\xBD"},
        {L"\xDE00\xD83Dz", "\xED\xB8\x80\xED\xA0\xBDz"},
        {L"\xD83D\xD83D\xDE00\xFFFD", "\xED\xA0\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD"},
        {L"\xD7FF\xE000", "\xED\x9F\xBF\xEE\x80\x80"},
    };
    for (const auto& [units, bytes] : kRows)
    {
        EXPECT_EQ(win32::UTF8Of(units), bytes);
        EXPECT_EQ(win32::WideOf(bytes), units);
    }
    const std::string kOtherBytes[] = {"\xED\xA0", "\xED\xA0z", "\xED\xC0\x80", "\xFF"};
    for (const std::string& bytes : kOtherBytes)
        EXPECT_NE(win32::WideOf(bytes).find(0xFFFD), std::wstring::npos);

    const std::wstring path = Path(L"a\xD83D");
    const HANDLE file = ::CreateFileW(win32::SystemPath(win32::UTF8Of(path)).c_str(), GENERIC_WRITE,
                                      0, nullptr, CREATE_NEW, 0, nullptr);
    // Wine can make no file of that name: its names are those of the POSIX system below.
    EXPECT_EQ(file == INVALID_HANDLE_VALUE, IsWine());
    if (file != INVALID_HANDLE_VALUE)
        ::CloseHandle(file);
    EXPECT_EQ(::DeleteFileW(path.c_str()) != 0, !IsWine());
}

// The trace's look-ups read the file of the module.
TEST_F(SystemFiles, AModuleMayHaveALongNameOfAnyScript)
{
    const std::wstring path = Path(L"\x65E5\x672C" + std::wstring(150, 'y') + L".dll");
    const std::wstring own = win32::ModulePath(nullptr);
    const std::wstring module =
        own.substr(0, own.find_last_of(L"/\\") + 1) + L"libnamed_module.dll";
    ASSERT_TRUE(::CopyFileW(module.c_str(), path.c_str(), TRUE));
    const HMODULE copy = ::LoadLibraryW(path.c_str());
    ASSERT_NE(copy, nullptr);
    const auto function = reinterpret_cast<char*>(::GetProcAddress(copy, "FunctionOfAModule"));
    ASSERT_NE(function, nullptr);
    char name[100] = {};
    krobase::debug::StackFrameFunctionName(function + 1, name, sizeof(name));
    EXPECT_STREQ(name, "FunctionOfAModule");
    ::FreeLibrary(copy);
    EXPECT_TRUE(::DeleteFileW(path.c_str()));
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
