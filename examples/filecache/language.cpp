#include "language.h"

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
const Language kEnglish = {"en", "en_US"};
const Language kTranslated[] = {{"de", "de_DE"}, {"ja", "ja_JP"}};

// From the program's folder: the same in a build and where it is installed.
const char kDictionaries[] = "../share/u";
} // namespace

const Language* FindLanguage(const std::string& name)
{
    for (const Language& language : kTranslated)
    {
        if (name == language.name)
            return &language;
    }
    return name == kEnglish.name ? &kEnglish : nullptr;
}

Message ShippedDictionary(const Language& language, std::string* path, const char* program)
{
    path->clear();
    if (&language == &kEnglish)
        return Message();
    std::error_code error;
    const fs::path file = fs::read_symlink(program, error);
    if (!error && !file.is_absolute())
        error = std::make_error_code(std::errc::no_such_file_or_directory);
    if (error)
        return {"$$$/QX/FileCache/Error/NoProgramFolder="
                "can't find the program's own folder, which has the dictionaries: ^^1",
                {error.message()}};
    const std::string name = std::string("filecache_") + language.name + ".zdict";
    *path = (file.parent_path() / kDictionaries / name).lexically_normal().string();
    return Message();
}
