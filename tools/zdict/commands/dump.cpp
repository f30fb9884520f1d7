// Texts of images.

#include <algorithm>

#include "command_options.h"
#include "commands/commands.h"
#include "images/entries.h"
#include "images/text_output.h"

namespace
{
const std::uint16_t kByteOrderMark = 0xFEFF;

// Reports each entry that the text form can't carry.
//
// Throws: Failure, if there is one.
void RequireCarried(const Entries& entries, const InputFile& file, bool withComments)
{
    std::size_t refused = 0;
    for (const Entry& entry : entries)
    {
        if (const char* const problem = KeyProblem(entry.mKey))
            Report(file.mName, "the key " + Quoted(entry.mKey) + " " + problem);
        else if (entry.mComment.Length() && withComments)
            Report(file.mName, Quoted(entry.mKey) + " has a comment (see --no-comments)");
        else
            continue;
        ++refused;
    }
    if (refused)
        throw Failure{kFaulty, file.mName,
                      "the text form can't carry " + std::to_string(refused) + " of its " +
                          Counted(entries.size(), "text")};
}

std::string InUTF8(const Entries& entries)
{
    std::string text;
    Units line;
    for (const Entry& entry : entries)
    {
        line.clear();
        AppendLine(entry.mKey, entry.mText, &line);
        text += ToUTF8(hollin::ZString(line.data(), static_cast<std::uint32_t>(line.size())));
    }
    return text;
}

// In this machine's byte order.
std::string InUTF16(const Entries& entries)
{
    Units text = {kByteOrderMark};
    for (const Entry& entry : entries)
        AppendLine(entry.mKey, entry.mText, &text);
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof text[0]);
}

class Dump : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddOutput(app, &mOutput);
        AddFlag(app, "--utf16", &mUTF16, "write UTF-16, not UTF-8");
        AddFlag(app, "--no-comments", &mNoComments, "leave comments out");
        AddOperand(app, "FILE", &mFile, "an image or a text");
    }

    Status Run() override
    {
        const InputFile file = ReadFile(mFile);
        Entries entries = ReadEntries(file, CheckFile(file, mCodePage), mCodePage);
        RequireCarried(entries, file, !mNoComments);
        std::sort(entries.begin(), entries.end(),
                  [](const Entry& left, const Entry& right) { return left.mKey < right.mKey; });
        WriteFile(mOutput, mUTF16 ? InUTF16(entries) : InUTF8(entries),
                  mUTF16 ? Content::kBinary : Content::kText);
        return kFine;
    }

private:
    std::string mFile;
    std::string mOutput = kStandardStream;
    CodePage mCodePage;
    bool mUTF16 = false;
    bool mNoComments = false;
};
} // namespace

std::unique_ptr<Command> MakeDump()
{
    return std::make_unique<Dump>();
}
