#include "program.h"

#include <cstdio>
#include <new>

#include <fcntl.h>
#include <io.h>

#include <win32/native/paths.h>
#include <win32/native/windows_api.h>

namespace
{
HANDLE ErrorStream()
{
    return ::GetStdHandle(STD_ERROR_HANDLE);
}

// Returns the arguments in UTF-8. Those of main are in the active code page, and the C runtime has
// expanded wildcards in them.
std::vector<std::string> ProgramArguments()
{
    int count = 0;
    const std::unique_ptr<wchar_t*, HLOCAL (*)(HLOCAL)> arguments(
        ::CommandLineToArgvW(::GetCommandLineW(), &count),
        [](HLOCAL block) { return ::LocalFree(block); });
    if (!arguments)
        throw std::bad_alloc();
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i)
        texts.push_back(win32::UTF8Of(arguments.get()[i]));
    return texts;
}

// Sets the terminal to UTF-8 and to escape sequences for a scope. Other programs share the
// terminal, so the destructor restores both settings.
class ScTerminal
{
public:
    ScTerminal()
    {
        ::SetConsoleOutputCP(CP_UTF8);
        if (mHasMode)
            ::SetConsoleMode(ErrorStream(), mMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
    ~ScTerminal()
    {
        if (mCodePage)
            ::SetConsoleOutputCP(mCodePage);
        if (mHasMode)
            ::SetConsoleMode(ErrorStream(), mMode);
    }
    ScTerminal(const ScTerminal&) = delete;
    ScTerminal& operator=(const ScTerminal&) = delete;

private:
    const UINT mCodePage = ::GetConsoleOutputCP(); // 0 without a terminal
    DWORD mMode = 0;
    const bool mHasMode = ::GetConsoleMode(ErrorStream(), &mMode) != 0;
};
} // namespace

ProgramStart::ProgramStart(int, char**)
    : mArguments(ProgramArguments()), mTerminal(std::make_shared<ScTerminal>())
{
    for (std::FILE* const stream : {stdin, stdout, stderr})
        ::_setmode(::_fileno(stream), _O_BINARY);
    // The C runtime buffers a stderr that is no terminal.
    std::setvbuf(stderr, nullptr, _IONBF, 0);
}

ProgramStart::~ProgramStart() = default;

bool IsTerminal(int descriptor)
{
    DWORD mode = 0; // _isatty takes NUL for a terminal
    const HANDLE handle = reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
    return ::GetConsoleMode(handle, &mode) != 0;
}

bool HasEscapes()
{
    DWORD mode = 0;
    return ::GetConsoleMode(ErrorStream(), &mode) &&
           (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

std::size_t TerminalWidth()
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!::GetConsoleScreenBufferInfo(ErrorStream(), &info) ||
        info.srWindow.Right < info.srWindow.Left)
        return 80;
    return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left) + 1;
}
