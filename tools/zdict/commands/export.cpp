// Exchange files of texts, for translators' tools.

#include "command_options.h"
#include "commands/commands.h"
#include "exchange/formats.h"
#include "images/load.h"

namespace
{
class Export : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddChoice(app, "--format", FormatNames(), &mFormat, "the format to write");
        AddValue(app, "--english", "FILE", &mEnglish, "the English texts, of any form");
        AddLocale(app, &mLocale, "the locale of the translation, as de_DE");
        AddCodePage(app, &mCodePage);
        AddOutput(app, &mOutput);
        AddOptionalOperand(app, "FILE", &mTranslation,
                           "the translation, a text or an image (none)");
    }

    Status Run() override
    {
        if (mFormat.empty() || mEnglish.empty())
            throw Failure{kUnusable, std::string(),
                          "export needs --format and --english (see zdict export --help)"};
        EntryTable english;
        EntryTable translations;
        std::size_t bytes = Load(mEnglish, &english);
        if (!mTranslation.empty())
            bytes += Load(mTranslation, &translations);
        Catalogue catalogue = MakeCatalogue(english, mEnglish, translations, mTranslation);
        catalogue.mLocale = mLocale;
        catalogue.mRoom = 4 * bytes; // memory that is not used is not taken
        WriteFile(mOutput, WriteCatalogue(catalogue, mFormat), Content::kText);
        return kFine;
    }

private:
    // Returns the size of the file.
    std::size_t Load(const std::string& name, EntryTable* table) const
    {
        const InputFile file = ReadFile(name);
        LoadAny(file, mCodePage, table);
        return file.mBytes.size();
    }

    std::string mFormat;
    std::string mEnglish;
    std::string mTranslation;
    std::string mLocale;
    std::string mOutput = kStandardStream;
    CodePage mCodePage;
};
} // namespace

std::unique_ptr<Command> MakeExport()
{
    return std::make_unique<Export>();
}
