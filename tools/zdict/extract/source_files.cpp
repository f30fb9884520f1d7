#include "extract/source_files.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <unordered_set>

#include <program/folders.h>

#include "extract/glob.h"
#include "files.h"
#include "messages.h"

namespace fs = std::filesystem;

namespace
{
const char* const kEndings[] = {".c",   ".cc",  ".cpp", ".cxx", ".h", ".hh",
                                ".hpp", ".hxx", ".inc", ".m",   ".mm"};

bool IsSource(const fs::path& path)
{
    const std::string ending = path.extension().u8string();
    return std::find(std::begin(kEndings), std::end(kEndings), ending) != std::end(kEndings);
}

// A file that is left out silently would be missing from the texts.
void FailIfUnknown(fs::file_type type, const std::string& path, const std::error_code& error)
{
    if (type == fs::file_type::none)
        throw Failure{kUnusable, path, "can't be looked at: " + error.message()};
}

bool IsRegular(const std::string& path)
{
    std::error_code error;
    const fs::file_type type = TypeOf(path, error);
    FailIfUnknown(type, path, error);
    return type == fs::file_type::regular;
}

class Finder
{
public:
    explicit Finder(const std::vector<std::string>& excludes) : mExcludes(excludes) {}

    void Add(const std::string& operand)
    {
        std::error_code error;
        if (operand != kStandardStream && TypeOf(operand, error) == fs::file_type::directory)
            Walk(operand, std::string());
        else
            AddFile(fs::u8path(operand).generic_u8string());
    }

    std::vector<std::string> Take() { return std::move(mFiles); }

private:
    struct Name
    {
        std::string mName;
        fs::file_type mType;
        std::error_code mError; // why the type is not known
    };

    void AddFile(const std::string& file)
    {
        if (mKnown.insert(file).second)
            mFiles.push_back(file);
    }

    bool IsExcluded(const std::string& name, const std::string& path) const
    {
        return std::any_of(mExcludes.begin(), mExcludes.end(), [&](const std::string& glob) {
            return MatchesGlob(glob.find('/') == std::string::npos ? name : path, glob);
        });
    }

    std::vector<Name> NamesOf(const std::string& folder) const
    {
        std::vector<Name> names;
        const auto take = [&](const std::string& name, fs::file_type type,
                              const std::error_code& error) {
            names.push_back({name, type, error});
            return true;
        };
        if (const std::error_code error = ListFolder(folder, take))
            throw Failure{kUnusable, folder, "can't be listed: " + error.message()};
        std::sort(names.begin(), names.end(),
                  [](const Name& left, const Name& right) { return left.mName < right.mName; });
        return names;
    }

    // `path` is that of the folder from the operand, with a slash at the end if it isn't empty.
    void Walk(const std::string& folder, const std::string& path)
    {
        for (const Name& name : NamesOf(folder))
        {
            if (name.mName.front() == '.' || IsExcluded(name.mName, path + name.mName))
                continue;
            const fs::path whole = fs::u8path(folder) / fs::u8path(name.mName);
            FailIfUnknown(name.mType, whole.generic_u8string(), name.mError);
            if (name.mType == fs::file_type::directory)
                Walk(whole.generic_u8string(), path + name.mName + "/");
            else if (IsSource(whole) && IsRegular(whole.u8string()))
                AddFile(whole.lexically_normal().generic_u8string());
        }
    }

    const std::vector<std::string>& mExcludes;
    std::unordered_set<std::string> mKnown;
    std::vector<std::string> mFiles;
};
} // namespace

std::vector<std::string> FindSources(const std::vector<std::string>& operands,
                                     const std::vector<std::string>& excludes)
{
    Finder finder(excludes);
    for (const std::string& operand : operands)
        finder.Add(operand);
    return finder.Take();
}
