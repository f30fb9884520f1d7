// The text of a key.

#include <algorithm>

#include "command_options.h"
#include "commands/commands.h"
#include "images/entries.h"
#include "images/text_output.h"

namespace
{
// The key of a literal of the source code: the part between "$$$" and "=".
std::string KeyOf(const std::string& literal)
{
    const std::size_t begin = literal.compare(0, 3, "$$$") == 0 ? 3 : 0;
    return literal.substr(begin, literal.find('=') - begin);
}

class Get : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddFlag(app, "--comment", &mComment, "print the comment, not the text");
        AddOperand(app, "FILE", &mFile, "an image or a text");
        AddOperand(app, "KEY", &mKey, "a key, or a literal of the source code");
    }

    Status Run() override
    {
        const InputFile file = ReadFile(mFile);
        const Entries entries = ReadEntries(file, CheckFile(file, mCodePage), mCodePage);
        const std::string key = KeyOf(mKey);
        const auto matches = [&](const Entry& entry) { return entry.mKey == key; };
        const auto found = std::find_if(entries.begin(), entries.end(), matches);
        if (found == entries.end())
            throw Failure{kFaulty, file.mName, "it has no key " + Quoted(key)};
        if (mComment && !found->mComment.Length())
            throw Failure{kFaulty, file.mName, Quoted(key) + " has no comment"};
        const hollin::ZString& text = mComment ? found->mComment : found->mText;
        WriteFile(kStandardStream, ToUTF8(text) + "\n", Content::kText);
        return kFine;
    }

private:
    std::string mFile;
    std::string mKey;
    CodePage mCodePage;
    bool mComment = false;
};
} // namespace

std::unique_ptr<Command> MakeGet()
{
    return std::make_unique<Get>();
}
