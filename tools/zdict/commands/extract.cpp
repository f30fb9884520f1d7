// English texts of source code.

#include <algorithm>

#include "command_options.h"
#include "commands/commands.h"
#include "extract/english.h"
#include "extract/progress.h"
#include "extract/source_files.h"
#include "extract/source_reader.h"
#include "files.h"

namespace
{
// Splits NAME=VALUE.
std::pair<std::string, std::string> SplitOption(const char* option, const std::string& value)
{
    const std::size_t equals = value.find('=');
    if (equals == 0 || equals == std::string::npos)
        throw Failure{kUnusable, std::string(),
                      std::string(option) + " is NAME=VALUE, not '" + value +
                          "' (see zdict extract --help)"};
    return {value.substr(0, equals), value.substr(equals + 1)};
}

// Adds a value of an option that may be repeated for other macros.
std::pair<std::string, std::string> AddOnce(const char* option, const std::string& value,
                                            std::unordered_map<std::string, std::string>* values)
{
    auto pair = SplitOption(option, value);
    const auto [known, isNew] = values->insert(pair);
    if (!isNew && known->second != pair.second)
        throw Failure{kUnusable, std::string(),
                      std::string(option) + " has two values for " + pair.first +
                          " (see zdict extract --help)"};
    return pair;
}

// Reports the problems in the order of the files and their lines. Returns whether one of them is
// an error.
bool ReportProblems(std::vector<SourceProblem>* problems, const std::vector<std::string>& files)
{
    std::unordered_map<std::string, std::size_t> order;
    for (const std::string& file : files)
        order.emplace(file, order.size());
    std::stable_sort(problems->begin(), problems->end(),
                     [&](const SourceProblem& left, const SourceProblem& right) {
                         const std::size_t first = order[left.mPlace.mFile];
                         const std::size_t second = order[right.mPlace.mFile];
                         return first != second ? first < second : left.mPlace < right.mPlace;
                     });
    bool hasError = false;
    for (const SourceProblem& problem : *problems)
    {
        ReportAt(ToString(problem.mPlace),
                 (problem.mIsError ? "error: " : "warning: ") + problem.mWhat);
        hasError |= problem.mIsError;
    }
    return hasError;
}

class Extract : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddOutput(app, &mOutput);
        AddValues(app, "--exclude", "GLOB", &mExcludes,
                  "skip files and folders whose name or path matches");
        AddValues(app, "--table", "MACRO=TEXT", &mTables,
                  "calls of MACRO are texts; %1 to %9 are arguments");
        AddValues(app, "--define", "MACRO=TEXT", &mDefines,
                  "value of a macro that sources do not define");
        AddValues(app, "--exclude-key", "GLOB", &mEnglishRules.mExcludedKeys,
                  "leave out texts whose key matches, without $$$");
        AddValue(app, "--comment-tag", "TAG", &mReadingRules.mCommentTag,
                 "mark of comments for translators (TRANSLATORS:)");
        AddFlag(app, "--no-references", &mNoReferences, "leave out files and lines");
        AddFlag(app, "--no-notes", &mNoNotes, "leave out references and comments");
        AddOperands(app, "SOURCE", &mSources, "source files, and folders of them");
    }

    Status Run() override
    {
        for (const std::string& table : mTables)
            AddTable(table);
        for (const std::string& define : mDefines)
            AddOnce("--define", define, &mEnglishRules.mDefines);

        const std::vector<std::string> files = FindSources(mSources, mExcludes);
        SourceTexts found;
        {
            Progress progress("file", files.size());
            for (std::size_t i = 0; i < files.size(); ++i)
            {
                ReadSource(files[i], &found);
                progress.Show(i + 1);
            }
        }
        const std::vector<EnglishText> texts = CollectEnglish(mEnglishRules, &found);
        if (ReportProblems(&found.mProblems, files))
        {
            Report(std::string(), "nothing is written");
            return kFaulty;
        }
        WriteFile(mOutput, FormatEnglish(texts, {!mNoReferences, !mNoNotes}), Content::kText);
        return kFine;
    }

private:
    void AddTable(const std::string& option)
    {
        const auto table = AddOnce("--table", option, &mReadingRules.mTables);
        // An argument may have the rest of the prefix.
        const std::string head = table.second.substr(0, table.second.find('%'));
        const std::size_t length = std::min(head.size(), kPrefix.size());
        if (head.compare(0, length, kPrefix, 0, length) != 0 || table.second.empty())
            throw Failure{kUnusable, std::string(),
                          "the pattern '" + table.second + "' of --table must begin with " +
                              kPrefix + " (see zdict extract --help)"};
    }

    void ReadSource(const std::string& name, SourceTexts* found)
    {
        InputFile file = ReadFile(name);
        const std::string begin(
            file.mBytes.begin(),
            file.mBytes.begin() + static_cast<long>(std::min<std::size_t>(2, file.mBytes.size())));
        if (begin == "\xFF\xFE" || begin == "\xFE\xFF")
            throw Failure{kFaulty, file.mName, "it is UTF-16, not UTF-8"};
        // Old files have carriage returns alone at the ends of their lines.
        if (std::find(file.mBytes.begin(), file.mBytes.end(), '\n') == file.mBytes.end())
            std::replace(file.mBytes.begin(), file.mBytes.end(), '\r', '\n');
        file.mBytes.push_back(0);
        SourceReader(file.mName, reinterpret_cast<const char*>(file.mBytes.data()),
                     file.mBytes.size() - 1, mReadingRules, found)
            .Read();
    }

    std::vector<std::string> mSources;
    std::string mOutput = kStandardStream;
    std::vector<std::string> mExcludes;
    std::vector<std::string> mTables;
    std::vector<std::string> mDefines;
    ReadingRules mReadingRules = {Tables(), "TRANSLATORS:"};
    EnglishRules mEnglishRules;
    bool mNoReferences = false;
    bool mNoNotes = false;
};
} // namespace

std::unique_ptr<Command> MakeExtract()
{
    return std::make_unique<Extract>();
}
