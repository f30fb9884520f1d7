// One image of images and texts.

#include "commands/build_options.h"
#include "commands/commands.h"

namespace
{
class Merge : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddBuildOptions(app, &mOptions);
        AddOperands(app, "FILE", &mOptions.mFiles, "images and texts, in order");
    }

    Status Run() override { return BuildImage(mOptions, Inputs::kTextsAndImages); }

private:
    BuildOptions mOptions;
};
} // namespace

std::unique_ptr<Command> MakeMerge()
{
    return std::make_unique<Merge>();
}
