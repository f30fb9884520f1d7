#include "system.h"

#include <sys/stat.h>

namespace fs = std::filesystem;

std::string ProgramFile(std::error_code& error)
{
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

unsigned long long SizeOf(std::FILE* file)
{
    struct stat state = {};
    const bool isRegular = fstat(fileno(file), &state) == 0 && S_ISREG(state.st_mode);
    return isRegular ? static_cast<unsigned long long>(state.st_size) : 0;
}

fs::file_type TypeOf(const std::string& path, std::error_code& error)
{
    return fs::status(path, error).type();
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
