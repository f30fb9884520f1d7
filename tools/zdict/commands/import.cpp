// Texts of exchange files.

#include <utility>

#include "command_options.h"
#include "commands/commands.h"
#include "exchange/formats.h"
#include "images/text_output.h"

namespace
{
class Import : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddChoice(app, "--format", FormatNames(), &mFormat,
                  "the format of the file (found from its content)");
        AddValue(app, "--english", "FILE", &mEnglish, "English texts, for entries without a key");
        AddFlag(app, "--fuzzy", &mOptions.mFuzzy, "take fuzzy translations, too");
        AddFlag(app, "--obsolete", &mOptions.mObsolete, "take obsolete translations, too");
        AddFlag(app, "--no-notes", &mNoNotes, "leave notes out");
        AddOutput(app, &mOutput);
        AddOperand(app, "FILE", &mFile, "a file of the format");
    }

    Status Run() override
    {
        mOptions.mNotes = !mNoNotes;
        InputFile file = ReadFile(mFile);
        const std::string name = file.mName;
        const Catalogue catalogue = ReadCatalogue(std::move(file), mFormat);
        const Entries texts = TakeTranslations(catalogue, name, English(), mOptions);
        std::string output;
        for (const Entry& entry : texts)
        {
            Units line;
            AppendLine(entry.mKey, entry.mText, &line);
            output += ToUTF8(hollin::ZString(line.data(), static_cast<std::uint32_t>(line.size())));
        }
        WriteFile(mOutput, output, Content::kText);
        return kFine;
    }

private:
    Entries English() const
    {
        if (mEnglish.empty())
            return Entries();
        const InputFile file = ReadFile(mEnglish);
        return ReadEntries(file, CheckFile(file, CodePage()), CodePage());
    }

    std::string mFormat;
    std::string mEnglish;
    std::string mFile;
    std::string mOutput = kStandardStream;
    TakeOptions mOptions;
    bool mNoNotes = false;
};
} // namespace

std::unique_ptr<Command> MakeImport()
{
    return std::make_unique<Import>();
}
