#include "extract/source_files.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <unordered_set>

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

class Finder
{
public:
    explicit Finder(const std::vector<std::string>& excludes) : mExcludes(excludes) {}

    void Add(const std::string& operand)
    {
        std::error_code error;
        if (operand != kStandardStream && fs::is_directory(fs::u8path(operand), error))
            Walk(fs::u8path(operand), std::string());
        else
            AddFile(operand);
    }

    std::vector<std::string> Take() { return std::move(mFiles); }

private:
    struct Name
    {
        std::string mName;
        bool mIsFolder;
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

    std::vector<Name> NamesOf(const fs::path& folder) const
    {
        std::vector<Name> names;
        std::error_code error;
        for (fs::directory_iterator next(folder, error), end; !error && next != end;
             next.increment(error))
        {
            std::error_code noType;
            const bool isFolder = next->is_directory(noType) && !next->is_symlink(noType);
            names.push_back({next->path().filename().u8string(), isFolder});
        }
        if (error)
            throw Failure{kUnusable, folder.generic_u8string(),
                          "can't be listed: " + error.message()};
        std::sort(names.begin(), names.end(),
                  [](const Name& left, const Name& right) { return left.mName < right.mName; });
        return names;
    }

    // `path` is that of the folder from the operand, with a slash at the end if it isn't empty.
    void Walk(const fs::path& folder, const std::string& path)
    {
        for (const Name& name : NamesOf(folder))
        {
            if (name.mName.front() == '.' || IsExcluded(name.mName, path + name.mName))
                continue;
            const fs::path whole = folder / fs::u8path(name.mName);
            std::error_code error;
            if (name.mIsFolder)
                Walk(whole, path + name.mName + "/");
            else if (IsSource(whole) && fs::is_regular_file(whole, error))
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
