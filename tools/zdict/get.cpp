#include <algorithm>
#include <cstring>

#include "commands.h"
#include "entries.h"
#include "utf8.h"

namespace
{
// What a literal of the source code looks up: the part between "$$$" and "=".
std::string KeyOf(const std::string& literal)
{
    const std::size_t begin = literal.compare(0, 3, "$$$") == 0 ? 3 : 0;
    return literal.substr(begin, literal.find('=') - begin);
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
} // namespace

const Command kGetCommand = {
    "get",
    "FILE KEY",
    "print the text of a key",
    "Prints the text that a look-up of KEY finds, as it is stored, in UTF-8. KEY may\n"
    "be a literal of the source code, as $$$/a/b=text.\n",
    kCommentOption | kCodePageOption,
    2,
    2,
    Get};
