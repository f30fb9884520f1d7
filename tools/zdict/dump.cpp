// The commands dump and get: texts are written as files and to the terminal.

#include <algorithm>

#include "command_line.h"
#include "entries.h"
#include "text_output.h"

namespace
{
const std::uint16_t kByteOrderMark = 0xFEFF;

// Reports each entry that the text form can't carry.
//
// Throws: Failure, if there is one.
void RequireCarried(const Entries& entries, const InputFile& file, const Options& options)
{
    std::size_t refused = 0;
    for (const Entry& entry : entries)
    {
        if (const char* const problem = KeyProblem(entry.mKey))
            Report(file.mName, "the key " + Quoted(entry.mKey) + " " + problem);
        else if (entry.mComment.Length() && !options.mNoComments)
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

// The key of a literal of the source code: the part between "$$$" and "=".
std::string KeyOf(const std::string& literal)
{
    const std::size_t begin = literal.compare(0, 3, "$$$") == 0 ? 3 : 0;
    return literal.substr(begin, literal.find('=') - begin);
}
} // namespace

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

Status Get(const Options& options)
{
    const InputFile file = ReadFile(options.mOperands[0]);
    const Entries entries = ReadEntries(file, CheckFile(file, options), options);
    const std::string key = KeyOf(options.mOperands[1]);
    const auto matches = [&](const Entry& entry) { return entry.mKey == key; };
    const auto found = std::find_if(entries.begin(), entries.end(), matches);
    if (found == entries.end())
        throw Failure{kFaulty, file.mName, "it has no key " + Quoted(key)};
    if (options.mComment && !found->mComment.Length())
        throw Failure{kFaulty, file.mName, Quoted(key) + " has no comment"};
    const hollin::ZString& text = options.mComment ? found->mComment : found->mText;
    WriteFile(kStandardStream, ToUTF8(text) + "\n", Content::kText);
    return kFine;
}
