// How much of the texts is translated.

#include <program/program.h>

#include "command_options.h"
#include "commands/commands.h"
#include "lint/text_lines.h"
#include "status/page.h"
#include "status/table.h"
#include "system.h"

namespace
{
class StatusCommand : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddValue(app, "--english", "EN", &mEnglish,
                 "the English texts of the same keys (required)");
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
