#include <algorithm>

#include "commands.h"
#include "entries.h"
#include "text_line.h"
#include "utf8.h"

namespace
{
const std::uint16_t kByteOrderMark = 0xFEFF;

// Tells of everything that the text form can't carry.
void RequireCarried(const Entries& entries, const InputFile& file, const Options& options)
{
    std::size_t refused = 0;
    for (const Entry& entry : entries)
    {
        if (const char* const problem = KeyProblem(entry.mKey))
            Tell(file.mName, "the key " + Quoted(entry.mKey) + " " + problem);
        else if (entry.mComment.Length() && !options.mNoComments)
            Tell(file.mName, Quoted(entry.mKey) + " has a comment (see --no-comments)");
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

// Of this machine's byte order.
std::string InUTF16(const Entries& entries)
{
    Units text = {kByteOrderMark};
    for (const Entry& entry : entries)
        AppendLine(entry.mKey, entry.mText, &text);
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof text[0]);
}

Status Dump(const Options& options)
{
    const InputFile file = ReadFile(options.mOperands[0]);
    Entries entries = ReadEntries(file, CheckFile(file, options), options);
    RequireCarried(entries, file, options);
    std::sort(entries.begin(), entries.end(),
              [](const Entry& left, const Entry& right) { return left.mKey < right.mKey; });
    WriteFile(options.mOutput, options.mUTF16 ? InUTF16(entries) : InUTF8(entries),
              options.mUTF16 ? Content::kBinary : Content::kText);
    return kFine;
}
} // namespace

const Command kDumpCommand = {
    "dump",
    "FILE",
    "make a text of an image",
    "Writes an image of any version, or a text, as a text: a line for each key, in\n"
    "the order of their bytes. What a reader would change is written in a notation,\n"
    "so that compile makes the same texts of it. It refuses what a text can't carry.\n",
    kOutputOption | kUTF16Option | kNoCommentsOption | kCodePageOption,
    1,
    1,
    Dump};
