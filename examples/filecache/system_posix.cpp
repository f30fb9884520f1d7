#include "system.h"

#include <filesystem>

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
