// The keys of files.

#include <algorithm>

#include "command_options.h"
#include "commands/commands.h"
#include "images/load.h"

namespace
{
class Keys : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddOperands(app, "FILE", &mFiles, "images and texts");
    }

    Status Run() override
    {
        std::vector<std::string> keys;
        for (const std::string& name : mFiles)
            AddKeys(ReadFile(name), &keys);
        std::sort(keys.begin(), keys.end());
        keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
        std::string lines;
        for (const std::string& key : keys)
            lines += key + "\n";
        WriteFile(kStandardStream, lines, Content::kText);
        return kFine;
    }

private:
    void AddKeys(const InputFile& file, std::vector<std::string>* keys) const
    {
        EntryTable table;
        LoadAny(file, mCodePage, &table);
        for (const std::uint32_t id : table.Entries())
        {
            const std::string key(table.Key(id));
            if (key.find_first_of("\n\r") != std::string::npos)
                throw Failure{kFaulty, file.mName, "the key " + Quoted(key) + " holds a line end"};
            keys->push_back(key);
        }
    }

    std::vector<std::string> mFiles;
    CodePage mCodePage;
};
} // namespace

std::unique_ptr<Command> MakeKeys()
{
    return std::make_unique<Keys>();
}
