// The arguments and the terminal of a program, in UTF-8.

#ifndef WIN32_NATIVE_PROGRAM_H
#define WIN32_NATIVE_PROGRAM_H

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "paths.h"
#include "windows_api.h"

namespace win32
{
// Returns the arguments of the program, the first of them its name. Those of main are in the
// active code page, and the C runtime has expanded wildcards in them.
//
// Throws: std::bad_alloc.
inline std::vector<std::string> ProgramArguments()
{
    int count = 0;
    const std::unique_ptr<wchar_t*, HLOCAL (*)(HLOCAL)> arguments(
        ::CommandLineToArgvW(::GetCommandLineW(), &count),
        [](HLOCAL block) { return ::LocalFree(block); });
    if (!arguments)
        throw std::bad_alloc();
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i)
        texts.push_back(UTF8Of(arguments.get()[i]));
    return texts;
}

// Sets the output of the terminal to UTF-8 for a scope.
class ScTerminalInUTF8
{
public:
    ScTerminalInUTF8() { ::SetConsoleOutputCP(CP_UTF8); }
    ~ScTerminalInUTF8()
    {
        if (mBefore)
            ::SetConsoleOutputCP(mBefore);
    }
    ScTerminalInUTF8(const ScTerminalInUTF8&) = delete;
    ScTerminalInUTF8& operator=(const ScTerminalInUTF8&) = delete;

private:
    const UINT mBefore = ::GetConsoleOutputCP(); // 0 without a terminal
};
} // namespace win32

#endif
