// Texts of images.

#include <algorithm>

#include <hollin/Markers.h>

#include "command_options.h"
#include "commands/commands.h"
#include "images/load.h"
#include "images/text_output.h"

namespace
{
const std::uint16_t kByteOrderMark = 0xFEFF;
const std::size_t kUnitsOfConversion = 1 << 16; // of UTF-16 to UTF-8, in one call

enum class Comments
{
    kRefused,
    kLeftOut,
    kWritten
};

// Writes the entries of a table as lines.
class Lines
{
public:
    Lines(const EntryTable& table, Comments comments) : mTable(table), mComments(comments) {}

    // Returns why the text form can't carry an entry, as a sentence, or an empty text if it can.
    std::string ProblemOf(std::uint32_t id)
    {
        const std::string key(mTable.Key(id));
        if (const char* const problem = KeyProblem(key))
            return "the key " + Quoted(key) + " " + problem;
        const bool hasComment = !mTable.Comment(id).empty();
        if (mComments == Comments::kRefused && hasComment)
            return Quoted(key) + " has a comment (see --comments, --no-comments)";
        if (mComments != Comments::kWritten)
            return std::string();
        const std::size_t marker = hollin::FindComment(Text(id));
        if (marker == (hasComment ? mTable.Text(id).size() : UnitView::npos))
            return std::string();
        return Quoted(key) + " has a marker that hides its comment (see --no-comments)";
    }

    void Append(std::uint32_t id, Units* lines) { AppendLine(mTable.Key(id), Text(id), lines); }

private:
    // The text with its comment, as compile splits it. Valid until the next call.
    UnitView Text(std::uint32_t id)
    {
        const UnitView text = mTable.Text(id);
        const UnitView comment = mTable.Comment(id);
        if (mComments != Comments::kWritten || comment.empty())
            return text;
        const std::string_view marker = hollin::kCommentMarker;
        mJoined.assign(text.begin(), text.end());
        mJoined.insert(mJoined.end(), marker.begin(), marker.end());
        mJoined.insert(mJoined.end(), comment.begin(), comment.end());
        return ViewOf(mJoined);
    }

    const EntryTable& mTable;
    const Comments mComments;
    Units mJoined;
};

// Reports each entry that the text form can't carry.
//
// Throws: Failure, if there is one.
void RequireCarried(const std::vector<std::uint32_t>& ids, const InputFile& file, Lines* lines)
{
    std::size_t refused = 0;
    for (const std::uint32_t id : ids)
    {
        const std::string problem = lines->ProblemOf(id);
        if (problem.empty())
            continue;
        Report(file.mName, problem);
        ++refused;
    }
    if (refused)
        throw Failure{kFaulty, file.mName,
                      "the text form can't carry " + std::to_string(refused) + " of its " +
                          Counted(ids.size(), "text")};
}

// Returns the identifiers in the order of the bytes of their keys.
std::vector<std::uint32_t> SortedEntries(const EntryTable& table)
{
    std::vector<std::uint32_t> ids = table.Entries();
    const auto isBefore = [&](std::uint32_t left, std::uint32_t right) {
        return table.Key(left) < table.Key(right);
    };
    if (!std::is_sorted(ids.begin(), ids.end(), isBefore)) // texts are often sorted
        std::sort(ids.begin(), ids.end(), isBefore);
    return ids;
}

std::string InUTF8(const std::vector<std::uint32_t>& ids, Lines* lines)
{
    std::string text;
    Units units;
    const auto convert = [&] {
        text += ToUTF8(ToZString(ViewOf(units)));
        units.clear();
    };
    for (const std::uint32_t id : ids)
    {
        lines->Append(id, &units);
        if (units.size() > kUnitsOfConversion)
            convert();
    }
    convert();
    return text;
}

// In this machine's byte order.
std::string InUTF16(const std::vector<std::uint32_t>& ids, Lines* lines)
{
    Units text = {kByteOrderMark};
    for (const std::uint32_t id : ids)
        lines->Append(id, &text);
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
        AddFlag(app, "--comments", &mComments, "write comments after {{*COMMENT*}}");
        AddFlag(app, "--no-comments", &mNoComments, "leave comments out");
        AddOperand(app, "FILE", &mFile, "an image or a text");
    }

    Status Run() override
    {
        const InputFile file = ReadFile(mFile);
        EntryTable table;
        LoadFile(file, FormOf(file, mCodePage), {mCodePage}, &table);
        const std::vector<std::uint32_t> ids = SortedEntries(table);
        Lines lines(table, CommentsOf());
        RequireCarried(ids, file, &lines);
        WriteFile(mOutput, mUTF16 ? InUTF16(ids, &lines) : InUTF8(ids, &lines),
                  mUTF16 ? Content::kBinary : Content::kText);
        return kFine;
    }

private:
    Comments CommentsOf() const
    {
        if (mComments && mNoComments)
            throw Failure{
                kUnusable, std::string(),
                "--comments and --no-comments exclude each other (see zdict dump --help)"};
        return mComments     ? Comments::kWritten
               : mNoComments ? Comments::kLeftOut
                             : Comments::kRefused;
    }

    std::string mFile;
    std::string mOutput = kStandardStream;
    CodePage mCodePage;
    bool mUTF16 = false;
    bool mComments = false;
    bool mNoComments = false;
};
} // namespace

std::unique_ptr<Command> MakeDump()
{
    return std::make_unique<Dump>();
}
