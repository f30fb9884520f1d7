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
        LoadAny(ReadFile(mEnglish), mCodePage, &english);
        if (!mTranslation.empty())
            LoadAny(ReadFile(mTranslation), mCodePage, &translations);
        Catalogue catalogue = MakeCatalogue(english, mEnglish, translations, mTranslation);
        catalogue.mLocale = mLocale;
        WriteFile(mOutput, WriteCatalogue(catalogue, mFormat), Content::kText);
        return kFine;
    }

private:
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
