#include "system.h"

#include <system_error>

#include <sys/ioctl.h>
#include <unistd.h>

namespace fs = std::filesystem;

ProgramStart::ProgramStart(int argc, char** argv) : mArguments(argv, argv + argc) {}

ProgramStart::~ProgramStart() = default;

std::string ProgramFile()
{
    std::error_code error;
    const fs::path file = fs::read_symlink("/proc/self/exe", error);
    return error ? std::string() : TextOf(file);
}

std::string DefaultFolder()
{
    return "/usr/include";
}

std::FILE* OpenFile(const std::string& path, const char* mode)
{
    return std::fopen(path.c_str(), mode);
}

fs::path SystemPath(const std::string& path)
{
    return path;
}

std::string TextOf(const fs::path& path)
{
    return path.string();
}

bool IsTerminal()
{
    return isatty(STDERR_FILENO) != 0;
}

size_t TerminalWidth()
{
    winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return 80;
    return size.ws_col;
}
