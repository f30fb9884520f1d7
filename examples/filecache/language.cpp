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

std::string ShippedDictionary(const Language& language)
{
    if (&language == &kEnglish)
        return std::string();
    std::error_code error; // then the path is taken from the current folder
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const std::string name = std::string("filecache_") + language.name + ".zdict";
    return (program.parent_path() / kDictionaries / name).lexically_normal().string();
}
