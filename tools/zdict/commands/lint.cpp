// Mistakes in translators' texts.

#include <algorithm>

#include <win32/text.h>

#include "command_options.h"
#include "commands/commands.h"
#include "lint/languages.h"
#include "lint/report.h"
#include "lint/text_lines.h"
#include "lint/translation_checks.h"

namespace
{
class Lint : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddValue(app, "--english", "EN", &mEnglish, "the English texts of the same keys");
        AddFlag(app, "--strict", &mIsStrict, "status 1 for warnings too");
        AddChoice(app, "--format", {"text", "json"}, &mFormat, "the form of the findings (text)");
        AddOutput(app, &mOutput);
        AddValues(app, "--only", "CHECK", &mOnly, "run this check alone; may be repeated");
        AddNoCheck(app, &mOff);
        AddFlag(app, "--list-checks", &mListsChecks, "print the names of the checks");
        AddNumber(app, "--max-length", "length", &mOptions.mLongest,
                  "most characters of a text whose note sets no max-length");
        AddLocale(app, &mLocale, "the locale of the texts (that of each file's name)");
        AddKnownCodePage(app, "--target-code-page", &mTargetCodePage,
                         "the code page that shows the texts (that of the locale)");
        AddOptionalOperands(app, "FILE", &mFiles, "texts of one language each");
    }

    Status Run() override
    {
        if (mListsChecks)
        {
            WriteFile(mOutput, ListOfChecks(), Content::kText);
            return kFine;
        }
        if (mFiles.empty())
            throw Failure{kUnusable, std::string(), "FILE is required (see zdict lint --help)"};
        Findings findings(CheckSet(mOnly, mOff));
        const Status status = CheckFiles(&findings);
        WriteFile(mOutput, mFormat == "json" ? AsJSON(findings, mRead) : AsText(findings, mRead),
                  Content::kText);
        const bool isFaulty =
            findings.CountOf(Severity::kError) || (mIsStrict && !findings.All().empty());
        return std::max(status, isFaulty ? kFaulty : kFine);
    }

private:
    Status CheckFiles(Findings* findings)
    {
        LintedFile english;
        if (!mEnglish.empty())
        {
            LintFile(AsText(ReadFile(mEnglish), mCodePage), mCodePage, mOptions, findings,
                     &english);
            ++mRead;
            findings->SortFrom(0);
        }
        Status status = kFine;
        for (const std::string& name : mFiles)
            status = std::max(status, CheckOne(name, english, findings));
        return status;
    }

    Status CheckOne(const std::string& name, const LintedFile& english, Findings* findings)
    {
        try
        {
            const std::size_t first = findings->All().size();
            LintedFile translation;
            LintFile(ReadFile(name), mCodePage, OptionsFor(name), findings,
                     mEnglish.empty() ? nullptr : &translation);
            ++mRead;
            if (!mEnglish.empty() && english.mIsTextForm && translation.mIsTextForm)
                LintTranslation(english, translation, findings);
            findings->SortFrom(first);
        }
        catch (const Failure& failure)
        {
            Report(failure);
            return failure.mStatus;
        }
        return kFine;
    }

    LintOptions OptionsFor(const std::string& file) const
    {
        LintOptions options = mOptions;
        const std::string locale = mLocale.empty() ? LocaleOfFile(file) : mLocale;
        const unsigned int page = mTargetCodePage ? mTargetCodePage : CodePageOfLocale(locale);
        options.mTargetCodePage = page == win32::kCodePageUTF8 ? 0 : page; // has all characters
        return options;
    }

    std::vector<std::string> mFiles;
    std::string mEnglish;
    CodePage mCodePage;
    LintOptions mOptions;
    std::string mLocale;
    std::uint32_t mTargetCodePage = 0;
    bool mIsStrict = false;
    bool mListsChecks = false;
    std::size_t mRead = 0; // files
    std::string mFormat = "text";
    std::string mOutput = "-";
    std::vector<std::string> mOnly;
    std::vector<std::string> mOff;
};
} // namespace

std::unique_ptr<Command> MakeLint()
{
    return std::make_unique<Lint>();
}
