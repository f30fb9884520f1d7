#include "language.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace
{
const Language kEnglish = {"en", "en_US"};
// "pseudo" is English with accents, longer and in brackets. Texts that it doesn't reach aren't
// looked up. Help and messages leave its name out: it is for developers.
const Language kTranslated[] = {{"de", "de_DE"}, {"ja", "ja_JP"}, {"pseudo", "en_US"}};

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

Message ShippedDictionary(const Language& language, const std::string& program,
                          const std::error_code& reason, std::string* path)
{
    path->clear();
    if (&language == &kEnglish)
        return Message();
    const fs::path file = fs::u8path(program);
    if (!file.is_absolute())
        return {"$$$/QX/FileCache/Error/NoProgramFolder="
                "can't find the program's own folder, which has the dictionaries: ^^1",
                {reason.message()}};
    const std::string name = std::string("filecache_") + language.name + ".zdict";
    *path = (file.parent_path() / kDictionaries / name).lexically_normal().generic_u8string();
    return Message();
}
