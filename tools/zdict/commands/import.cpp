// Texts of exchange files.

#include <utility>

#include "command_options.h"
#include "commands/commands.h"
#include "exchange/formats.h"
#include "exchange/taker.h"
#include "images/load.h"
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
        EntryTable english;
        if (!mEnglish.empty())
            LoadAny(ReadFile(mEnglish), CodePage(), &english);
        std::string output;
        {
            const InputFile file = ReadFile(mFile);
            output.reserve(file.mBytes.size()); // so that growing copies nothing
            Taker taker(file.mName, english, mOptions,
                        [&](const std::string& key, const hollin::ZString& text) {
                            Units line;
                            AppendLine(key, text, &line);
                            output += ToUTF8(ToZString(ViewOf(line)));
                        });
            ReadCatalogue(file, mFormat,
                          [&](CatalogueEntry entry) { taker.Add(std::move(entry)); });
            taker.Finish();
        }
        WriteFile(mOutput, output, Content::kText);
        return kFine;
    }

private:
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
