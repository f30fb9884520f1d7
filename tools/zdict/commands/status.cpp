// How much of the texts is translated.

#include "command_options.h"
#include "commands/commands.h"
#include "lint/report.h"
#include "status/page.h"
#include "status/table.h"
#include "system.h"

namespace
{
// Reads a text file. Errors of its form are reported; other findings are those of lint.
LintedFile ReadLines(const std::string& name, CodePage codePage)
{
    Findings findings(CheckSet(
        {"not-a-text-form", "encoding", "bad-prefix", "key-empty", "key-not-ascii", "key-length"},
        {}));
    LintedFile lines;
    LintFile(ReadFile(name), codePage, LintOptions(), &findings, &lines);
    for (const Finding& finding : findings.All())
        Report(std::string(), LineOf(finding));
    if (!lines.mIsTextForm)
        throw Failure{kFaulty, name, std::string()};
    return lines;
}

class StatusCommand : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddValue(app, "--english", "EN", &mEnglish, "the English texts of the same keys");
        AddValue(app, "--html", "PAGE", &mPage, "also write a page with all texts to work on");
        AddOperands(app, "FILE", &mFiles, "texts of one language each");
    }

    Status Run() override
    {
        if (mEnglish.empty())
            throw Failure{kUnusable, std::string(),
                          "--english is required (see zdict status --help)"};
        const LintedFile english = ReadLines(mEnglish, mCodePage);
        std::vector<LanguageStatus> languages;
        for (const std::string& name : mFiles)
            languages.push_back(StatusOf(english, ReadLines(name, mCodePage)));
        if (!mPage.empty())
            WriteFile(mPage, AsPage(languages, english.mName), Content::kText);
        if (mPage != kStandardStream)
            WriteFile(kStandardStream, AsTable(languages, IsTerminal(kStdout)), Content::kText);
        return kFine;
    }

private:
    std::vector<std::string> mFiles;
    std::string mEnglish;
    std::string mPage;
    CodePage mCodePage;
};
} // namespace

std::unique_ptr<Command> MakeStatus()
{
    return std::make_unique<StatusCommand>();
}
