#include "images/entries.h"

#include <unordered_map>
#include <utility>

#include <hollin/Dictionary.h>
#include <platform/control.h>

#include "images/text_input.h"
#include "messages.h"

namespace
{
// Returns the key of the current entry of a walk, in a flat or a hash store.
std::string CurrentKey(const hollin::Dictionary& dictionary)
{
    std::string key(dictionary.CurrentKey(nullptr, 0, false) + std::size_t(1), '\0');
    dictionary.CurrentKey(key.data(), static_cast<std::uint32_t>(key.size()), true);
    key.pop_back();
    return key;
}

// A look-up takes a literal of the source code. No literal has such a key.
void RequireLookUp(const std::string& key, const InputFile& file)
{
    if (key.find_first_of(std::string("=\0", 2)) == std::string::npos)
        return;
    throw Failure{kFaulty, file.mName,
                  "the key " + Quoted(key) + " can't be looked up: it holds a \"=\" or a NUL"};
}

// A dictionary returns the only comment of a block for each of its entries. The comment
// belongs to one of them.
hollin::ZString CommentOf(const hollin::Dictionary& dictionary, std::uint32_t id,
                          const hollin::ImageReport& report)
{
    const bool isItsOwn = report.mComments > 1 || id == report.mLoneCommentId;
    return isItsOwn ? dictionary.GetCommentById(id) : hollin::ZString();
}

// Sets the text and the comment of an entry to those that a look-up finds. An entry that
// no look-up finds is kept as it is.
void SetAsLookedUp(const hollin::Dictionary& dictionary, const hollin::ImageReport& report,
                   Entry* entry)
{
    const std::string literal = "$$$" + entry->mKey;
    if (!dictionary.HasString(literal.c_str()))
        return;
    entry->mText = dictionary.GetString(literal.c_str());
    entry->mComment = CommentOf(dictionary, dictionary.GetId(literal.c_str()), report);
}

Entries ReadImage(const InputFile& file, const hollin::ImageReport& report)
{
    hollin::Dictionary dictionary;
    dictionary.LoadFromMemory(file.mBytes.data(), static_cast<std::int32_t>(file.mBytes.size()),
                              false);
    Entries entries;
    std::unordered_map<std::string, std::size_t> indices; // of keys in the entries
    for (std::uint32_t id = 0; dictionary.NextId(&id);)
    {
        const std::string key = CurrentKey(dictionary);
        if (key.empty() && report.mMajor >= 2)
            continue; // a removed slot
        RequireLookUp(key, file);
        const auto [index, isNew] = indices.emplace(key, entries.size());
        if (isNew)
        {
            entries.push_back({key, dictionary.CurrentText(), CommentOf(dictionary, id, report)});
            continue;
        }
        Report(file.mName,
               "the key " + Quoted(key) + " is in it twice; what a look-up finds counts");
        SetAsLookedUp(dictionary, report, &entries[index->second]);
    }
    return entries;
}

void ReportLines(const InputFile& file, const std::vector<LineNote>& notes)
{
    for (const LineNote& note : notes)
        Report(file.mName, "line " + std::to_string(note.mLine) + ": " + note.mWhat);
}

Entries ReadTextEntries(const InputFile& file, CodePage codePage)
{
    TextContent content = ReadText(file, codePage);
    ReportLines(file, content.mProblems);
    if (!content.mProblems.empty())
        throw Failure{kFaulty, file.mName, std::string()};
    ReportLines(file, content.mDoubts);
    return std::move(content.mEntries);
}
} // namespace

hollin::ImageReport CheckFile(const InputFile& file, CodePage codePage)
{
    const TextBytes text(file, codePage);
    platform::SetActiveCodePage(text.mCodePage);
    hollin::ImageReport report = hollin::CheckImage(text.mBytes, text.mSize);
    if (text.mBytes != file.mBytes.data())
        report.mForm = hollin::ImageReport::kText; // no image begins with a byte-order mark
    return report;
}

bool IsText(const InputFile& file, const hollin::ImageReport& report)
{
    return report.mForm == hollin::ImageReport::kText && !file.mBytes.empty();
}

std::string DamageOf(const hollin::ImageReport& report)
{
    return "damaged at byte " + std::to_string(report.mOffset) + " in " + report.mField + ": " +
           report.mProblem;
}

Entries ReadEntries(const InputFile& file, const hollin::ImageReport& report, CodePage codePage)
{
    if (IsText(file, report))
        return ReadTextEntries(file, codePage);
    if (report.mDamaged)
        throw Failure{kFaulty, file.mName, DamageOf(report)};
    if (!report.mKeyed && report.mSlots)
        throw Failure{kFaulty, file.mName, "it has no keys"};
    if (report.mTextFlag > hollin::kEncodingUTF8 && !codePage.mIsGiven)
        throw Failure{kUnusable, file.mName,
                      "it doesn't say which code page its texts are in (see --code-page)"};
    return ReadImage(file, report);
}
