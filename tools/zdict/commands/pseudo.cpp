// Texts of a pseudo-locale.

#include "command_options.h"
#include "commands/commands.h"
#include "lint/text_lines.h"
#include "lint/units.h"
#include "pseudo/pseudo_text.h"

namespace
{
const char kMirrored[] = "qps-plocm";

class Pseudo : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddOutput(app, &mOutput);
        AddChoice(app, "--locale", {"qps", "qps-ploc", kMirrored}, &mLocale,
                  "the pseudo-locale (qps); qps-plocm is right-to-left");
        AddFlag(app, "--rtl", &mIsRightToLeft, "write words from right to left");
        AddOperand(app, "EN", &mEnglish, "the English texts");
    }

    Status Run() override
    {
        const LintedFile english = ReadLines(mEnglish, mCodePage);
        const Direction direction = mIsRightToLeft || mLocale == kMirrored
                                        ? Direction::kRightToLeft
                                        : Direction::kLeftToRight;
        std::string text;
        for (const RawLine& line : english.mLines)
            text += UTF8Of(PseudoLine(line, direction)) + "\n";
        WriteFile(mOutput, text, Content::kText);
        return kFine;
    }

private:
    std::string mEnglish;
    std::string mOutput = "-";
    CodePage mCodePage;
    std::string mLocale = "qps";
    bool mIsRightToLeft = false;
};
} // namespace

std::unique_ptr<Command> MakePseudo()
{
    return std::make_unique<Pseudo>();
}
