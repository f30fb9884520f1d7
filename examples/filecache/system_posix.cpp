#include "system.h"

#include <cerrno>
#include <filesystem>

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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

bool RunProgram(const std::vector<std::string>& arguments, std::error_code& error)
{
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str())); // posix_spawn does not change them
    words.push_back(nullptr);
    pid_t child = 0;
    int status = posix_spawn(&child, words[0], nullptr, nullptr, words.data(), environ);
    if (status != 0)
    {
        error.assign(status, std::generic_category());
        return false;
    }
    while (waitpid(child, &status, 0) < 0)
    {
        if (errno != EINTR)
        {
            error.assign(errno, std::generic_category());
            return false;
        }
    }
    error.clear();
    return status == 0;
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
