// The texts of keys.

#include <memory>
#include <optional>

#include <hollin/Markers.h>

#include "command_options.h"
#include "commands/commands.h"
#include "images/entries.h"
#include "images/load.h"
#include "images/text_output.h"

namespace
{
struct Found
{
    Units mText;
    Units mComment;
};

// Where keys are looked up.
class Source
{
public:
    virtual ~Source() = default;
    virtual std::optional<Found> Find(std::string_view key) const = 0;
};

// An image of version 2 in its file, of which only the tables and the texts are read.
class ImageSource : public Source
{
public:
    explicit ImageSource(const std::string& name)
        : mFile(MapFile(name)), mImage(mFile.mBytes.get(), mFile.mBytes ? mFile.mSize : 0)
    {
    }

    bool IsUsable() const { return mImage.IsReadable() && mImage.Report().mKeyed; }

    std::optional<Found> Find(std::string_view key) const override
    {
        const std::uint32_t slot = mImage.Find(key);
        if (slot == hollin::kNoId)
            return std::nullopt;
        Found found;
        mImage.AppendText(slot, &found.mText);
        for (std::uint32_t index = 0; index < mImage.Comments(); ++index)
        {
            if (mImage.CommentSlot(index) == slot)
                mImage.AppendComment(index, &found.mComment);
        }
        return found;
    }

private:
    const MappedFile mFile;
    const hollin::ImageView mImage;
};

// A file of any form.
class LoadedSource : public Source
{
public:
    LoadedSource(const std::string& name, CodePage codePage)
    {
        LoadAny(ReadFile(name), codePage, &mTable);
    }

    std::optional<Found> Find(std::string_view key) const override
    {
        const std::uint32_t id = mTable.Find(key);
        if (id == hollin::kNoId)
            return std::nullopt;
        const UnitView text = mTable.Text(id);
        const UnitView comment = mTable.Comment(id);
        return Found{Units(text.begin(), text.end()), Units(comment.begin(), comment.end())};
    }

private:
    EntryTable mTable;
};

std::unique_ptr<const Source> Open(const std::string& name, CodePage codePage)
{
    auto image = std::make_unique<ImageSource>(name);
    if (image->IsUsable())
        return image;
    return std::make_unique<LoadedSource>(name, codePage);
}

// Returns the comment of an image, or the note in the text itself.
Units CommentOf(const Found& found)
{
    const UnitView text = ViewOf(found.mText);
    const std::size_t marker = hollin::FindComment(text);
    if (!found.mComment.empty() || marker == UnitView::npos)
        return found.mComment;
    const UnitView note = text.substr(marker + hollin::kCommentMarker.size());
    return Units(note.begin(), note.end());
}

Units WithMarkersApplied(const Units& text)
{
    std::basic_string<std::uint16_t> applied(text.begin(), text.end());
    hollin::ApplyMarkers(applied, ZDICT_BUILD_YEAR);
    return Units(applied.begin(), applied.end());
}

class Get : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddFlag(app, "--comment", &mComment, "print the comment, not the text");
        AddFlag(app, "--apply-markers", &mApplyMarkers,
                "print the text as a program shows it, without its note");
        AddOperand(app, "FILE", &mFile, "an image or a text");
        AddOperands(app, "KEY", &mKeys, "keys, or literals of the source code");
    }

    Status Run() override
    {
        const std::unique_ptr<const Source> source = Open(mFile, mCodePage);
        std::string lines;
        Status status = kFine;
        for (const std::string& literal : mKeys)
        {
            const std::string key = KeyOf(literal);
            const std::optional<Found> found = key.empty() ? std::nullopt : source->Find(key);
            const std::string problem = ProblemOf(key, found);
            if (problem.empty())
                lines += ToUTF8(ToZString(ViewOf(Wanted(*found)))) + "\n";
            else
            {
                Report(mFile == kStandardStream ? "standard input" : mFile, problem);
                status = kFaulty;
            }
        }
        if (!lines.empty())
            WriteFile(kStandardStream, lines, Content::kText);
        return status;
    }

private:
    std::string ProblemOf(const std::string& key, const std::optional<Found>& found) const
    {
        if (!found)
            return "it has no key " + Quoted(key);
        if (mComment && CommentOf(*found).empty())
            return Quoted(key) + " has no comment";
        return std::string();
    }

    Units Wanted(const Found& found) const
    {
        if (mComment)
            return CommentOf(found);
        return mApplyMarkers ? WithMarkersApplied(found.mText) : found.mText;
    }

    std::string mFile;
    std::vector<std::string> mKeys;
    CodePage mCodePage;
    bool mComment = false;
    bool mApplyMarkers = false;
};
} // namespace

std::unique_ptr<Command> MakeGet()
{
    return std::make_unique<Get>();
}
