#include "system.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace fs = std::filesystem;

ProgramStart::ProgramStart(int argc, char** argv) : mArguments(argv, argv + argc) {}

ProgramStart::~ProgramStart() = default;

std::string ProgramFile()
{
    std::error_code error;
    const fs::path file = fs::read_symlink("/proc/self/exe", error);
    return error ? std::string() : file.string();
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

std::error_code ListFolder(const std::string& path, const TakeEntry& take)
{
    std::error_code error;
    fs::directory_iterator entry(path, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error))
    {
        std::error_code unknown;
        const fs::file_type type = entry->symlink_status(unknown).type();
        if (!take(entry->path().filename().string(), type, unknown))
            break;
    }
    return error;
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
