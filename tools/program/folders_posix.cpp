#include "folders.h"

namespace fs = std::filesystem;

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
