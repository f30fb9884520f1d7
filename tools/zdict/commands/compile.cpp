// Images of texts.

#include "commands/build_options.h"
#include "commands/commands.h"

namespace
{
class Compile : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddBuildOptions(app, &mOptions);
        AddOperands(app, "TEXT", &mOptions.mFiles, "texts, in order");
    }

    Status Run() override { return BuildImage(mOptions, Inputs::kTexts); }

private:
    BuildOptions mOptions;
};
} // namespace

std::unique_ptr<Command> MakeCompile()
{
    return std::make_unique<Compile>();
}
