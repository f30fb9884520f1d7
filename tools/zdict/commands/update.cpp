// Translations after changes of the English texts.

#include <memory>

#include <platform/control.h>
#include <win32/text.h>

#include "command_options.h"
#include "commands/commands.h"
#include "extract/update.h"
#include "images/text_input.h"
#include "images/text_output.h"

namespace
{
// Throws: Failure for a text that can't be used.
std::string InUTF8(const InputFile& file, CodePage codePage)
{
    const hollin::ImageReport report = CheckFile(file, codePage);
    if (!IsText(report))
        throw Failure{kUnusable, file.mName, "it is an image, not a text (see dump)"};
    ReadEntries(file, report, codePage); // reports bad lines, and throws

    const TextBytes text(file, codePage);
    if (!text.mUTF16)
    {
        platform::SetActiveCodePage(text.mCodePage);
        return ToUTF8(hollin::ZString(reinterpret_cast<const char*>(text.mBytes),
                                      static_cast<std::uint32_t>(text.mSize), nullptr));
    }
    Units units;
    const std::size_t kMarkSize = 2;
    for (std::size_t i = kMarkSize; i + 1 < text.mSize; i += 2)
    {
        const unsigned int first = text.mBytes[i];
        const unsigned int second = text.mBytes[i + 1];
        const unsigned int unit = text.mBigEndian ? first << 8 | second : second << 8 | first;
        const bool isSeparator = unit == 0x2028 || unit == 0x2029; // ends no line in UTF-8
        units.push_back(static_cast<std::uint16_t>(isSeparator ? '\n' : unit));
    }
    return ToUTF8(ToZString(ViewOf(units)));
}

// Returns the byte-order mark of a text in UTF-8, or an empty text.
std::string MarkOf(const InputFile& file, CodePage codePage)
{
    return TextBytes(file, codePage).mSize < file.mBytes.size() ? "\xEF\xBB\xBF" : "";
}

class Update : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddOutput(app, &mOutput);
        AddValue(app, "--english", "FILE", &mEnglish, "the new English texts (required)");
        AddValue(app, "--old-english", "FILE", &mOldEnglish,
                 "the English texts that the translation was made of");
        AddFlag(app, "--keep-obsolete", &mRules.mKeepObsolete,
                "keep the lines of keys that English lacks");
        AddFlag(app, "--add-new", &mRules.mAddNew, "add missing keys in English, marked as fuzzy");
        AddFlag(app, "--quiet", &mIsQuiet, "print no report");
        AddOperand(app, "TEXT", &mTranslation, "the translation");
    }

    Status Run() override
    {
        if (mEnglish.empty())
            throw Failure{kUnusable, std::string(),
                          "--english is required (see zdict update --help)"};
        const EnglishTexts english = ReadEnglish(mEnglish);
        std::unique_ptr<EnglishTexts> old;
        if (!mOldEnglish.empty())
            old = std::make_unique<EnglishTexts>(ReadEnglish(mOldEnglish));

        const InputFile file = ReadFile(mTranslation);
        const std::string translation = InUTF8(file, mCodePage);
        platform::SetActiveCodePage(win32::kCodePageUTF8);
        const Updated updated = UpdateTranslation(translation, english, old.get(), mRules);
        WriteFile(mOutput, MarkOf(file, mCodePage) + updated.mText, Content::kText);
        if (!mIsQuiet)
            ReportChanges(file.mName, updated);
        return kFine;
    }

private:
    EnglishTexts ReadEnglish(const std::string& name) const
    {
        const InputFile file = ReadFile(name);
        return EnglishTexts(ReadEntries(file, CheckFile(file, mCodePage), mCodePage));
    }

    static void ReportChanges(const std::string& file, const Updated& updated)
    {
        for (const TextChange& change : updated.mChanges)
        {
            if (change.mLine)
                ReportAt(file + ":" + std::to_string(change.mLine) + ":1", change.mWhat);
            else
                ReportAt(file, change.mWhat);
        }
        if (updated.mUnknown)
            Report(file, "the old English text of " + Counted(updated.mUnknown, "text") +
                             " isn't known, so that its change isn't found (see --old-english)");
        Report(file, Counted(updated.mKept, "text") + " kept, " + std::to_string(updated.mChanged) +
                         " changed, " + std::to_string(updated.mNew) + " new, " +
                         std::to_string(updated.mObsolete) + " obsolete");
    }

    std::string mTranslation;
    std::string mOutput = kStandardStream;
    std::string mEnglish;
    std::string mOldEnglish;
    CodePage mCodePage;
    UpdateRules mRules;
    bool mIsQuiet = false;
};
} // namespace

std::unique_ptr<Command> MakeUpdate()
{
    return std::make_unique<Update>();
}
