#include "system.h"

#include <algorithm>
#include <cstring>

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

std::string TextOf(const fs::path& path)
{
    return win32::UTF8Of(path.generic_wstring());
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
