#include "system.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <io.h>

#include <win32/native/paths.h>
#include <win32/native/program.h>
#include <win32/native/windows_api.h>

namespace fs = std::filesystem;

namespace
{
HANDLE ErrorStream()
{
    return ::GetStdHandle(STD_ERROR_HANDLE);
}

std::error_code LastError()
{
    return {win32::ErrorNumber(::GetLastError()), std::generic_category()};
}

// Links to files and to folders are of one type.
fs::file_type TypeOf(const WIN32_FIND_DATAW& entry)
{
    const bool isReparsePoint = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (isReparsePoint && IsReparseTagNameSurrogate(entry.dwReserved0))
        return fs::file_type::symlink;
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        return fs::file_type::directory;
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DEVICE)
        return fs::file_type::unknown;
    return fs::file_type::regular;
}
} // namespace

ProgramStart::ProgramStart(int, char**)
    : mArguments(win32::ProgramArguments()), mTerminal(std::make_shared<win32::ScTerminalInUTF8>())
{
    for (std::FILE* const stream : {stdin, stdout, stderr})
        ::_setmode(::_fileno(stream), _O_BINARY);
    // The C runtime buffers a stderr that is no terminal.
    std::setvbuf(stderr, nullptr, _IONBF, 0);
}

ProgramStart::~ProgramStart() = default;

std::string ProgramFile()
{
    std::wstring file(MAX_PATH, L'\0');
    for (;;)
    {
        const DWORD room = static_cast<DWORD>(file.size());
        const DWORD length = ::GetModuleFileNameW(nullptr, file.data(), room);
        if (length < room)
            return win32::UTF8Of(file.substr(0, length));
        file.resize(2 * file.size());
    }
}

std::string DefaultFolder()
{
    wchar_t windows[MAX_PATH];
    const UINT length = ::GetSystemWindowsDirectoryW(windows, MAX_PATH);
    return win32::UTF8Of({windows, std::min<UINT>(length, MAX_PATH)}) + "\\INF";
}

std::FILE* OpenFile(const std::string& path, const char* mode)
{
    const std::wstring name = win32::SystemPath(path);
    const std::wstring wideMode(mode, mode + std::strlen(mode));
    std::FILE* const file = ::_wfopen(name.c_str(), wideMode.c_str());
    if (!file)
        win32::CorrectOpenError(name);
    return file;
}

fs::path SystemPath(const std::string& path)
{
    return win32::SystemPath(path);
}

// Not by fs::directory_iterator, which lists the current folder in place of one with a long path.
std::error_code ListFolder(const std::string& path, const TakeEntry& take)
{
    WIN32_FIND_DATAW entry = {};
    std::wstring pattern = win32::SystemPath(path);
    pattern += !pattern.empty() && pattern.back() == L'\\' ? L"*" : L"\\*";
    const HANDLE search =
        ::FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch, nullptr,
                           FIND_FIRST_EX_LARGE_FETCH);
    if (search == INVALID_HANDLE_VALUE)
        return LastError();
    const std::unique_ptr<void, BOOL (*)(HANDLE)> end(
        search, [](HANDLE open) { return ::FindClose(open); });
    do
    {
        const std::wstring_view name = entry.cFileName;
        if (name != L"." && name != L".." &&
            !take(win32::UTF8Of(name), TypeOf(entry), std::error_code()))
            return {};
    } while (::FindNextFileW(search, &entry));
    return ::GetLastError() == ERROR_NO_MORE_FILES ? std::error_code() : LastError();
}

bool IsTerminal()
{
    DWORD mode = 0;
    return ::GetConsoleMode(ErrorStream(), &mode) &&
           ::SetConsoleMode(ErrorStream(), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

size_t TerminalWidth()
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!::GetConsoleScreenBufferInfo(ErrorStream(), &info) ||
        info.srWindow.Right < info.srWindow.Left)
        return 80;
    return static_cast<size_t>(info.srWindow.Right - info.srWindow.Left) + 1;
}
