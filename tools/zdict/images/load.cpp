#include "images/load.h"

#include <utility>

#include <hollin/Dictionary.h>
#include <platform/control.h>

#include "images/entries.h"
#include "images/text_input.h"
#include "lint/warnings.h"
#include "messages.h"

namespace
{
// A look-up takes a literal of the source code. No literal has such a key.
void RequireLookUp(std::string_view key, const InputFile& file)
{
    if (key.find_first_of(std::string_view("=\0", 2)) == std::string_view::npos)
        return;
    throw Failure{kFaulty, file.mName,
                  "the key " + Quoted(std::string(key)) +
                      " can't be looked up: it holds a \"=\" or a NUL"};
}

void ReportDouble(std::string_view key, const InputFile& file)
{
    Report(file.mName,
           "the key " + Quoted(std::string(key)) + " is in it twice; what a look-up finds counts");
}

void ReportLine(const InputFile& file, const LineNote& note)
{
    ReportAt(file.mName + ":" + std::to_string(note.mLine), note.mWhat);
}

LoadCounts LoadTextFile(const InputFile& file, const LoadOptions& options, EntryTable* table)
{
    const TextNotes notes = LoadText(file, options, table);
    for (const LineNote& problem : notes.mProblems)
        ReportLine(file, problem);
    if (!notes.mProblems.empty())
        throw Failure{kFaulty, file.mName, std::string()};
    if (notes.mHasDoubts)
        WarnAboutDoubts(file, options.mCodePage, options.mChecks);
    return notes.mCounts;
}

// Returns the key of the current entry of a walk in a hash store.
std::string CurrentKey(const hollin::Dictionary& dictionary)
{
    std::string key(dictionary.CurrentKey(nullptr, 0, false) + std::size_t(1), '\0');
    dictionary.CurrentKey(key.data(), static_cast<std::uint32_t>(key.size()), true);
    key.pop_back();
    return key;
}

// Loads an image of version 1, which has neither identifiers nor comments.
LoadCounts LoadLegacyImage(const InputFile& file, EntryTable* table)
{
    hollin::Dictionary dictionary;
    dictionary.LoadFromMemory(file.mBytes.data(), static_cast<std::int32_t>(file.mBytes.size()),
                              false);
    LoadCounts counts;
    std::vector<bool> isInFile(table->Slots());
    for (std::uint32_t number = 0; dictionary.NextId(&number);)
    {
        const std::string key = CurrentKey(dictionary);
        RequireLookUp(key, file);
        if (key.empty())
            throw Failure{kFaulty, file.mName, "it has an empty key, which no image can hold"};
        const std::uint32_t id = table->FindOrAdd(key);
        counts.mReplaced += id < isInFile.size() && !isInFile[id];
        isInFile.resize(table->Slots());
        // Of equal keys, a look-up finds one that isn't in the wrong bucket.
        const std::string literal = "$$$" + key;
        if (!isInFile[id])
            table->SetText(id, ViewOf(dictionary.CurrentText()));
        else if (ReportDouble(key, file); dictionary.HasString(literal.c_str()))
            table->SetText(id, ViewOf(dictionary.GetString(literal.c_str())));
        counts.mTexts += !isInFile[id];
        isInFile[id] = true;
    }
    return counts;
}

const std::uint32_t kDropped = hollin::kNoId - 1; // no identifier of a table of the tool

// Loads an image of version 2.
class ImageLoad
{
public:
    ImageLoad(const hollin::ImageView& image, const InputFile& file, EntryTable* table)
        : mImage(image), mFile(file), mTable(*table), mFirst(table->Slots()),
          mTargets(image.Slots(), hollin::kNoId)
    {
    }

    LoadCounts Run()
    {
        for (std::uint32_t slot = 0; slot < mImage.Slots(); ++slot)
            RequireLookUp(mImage.Key(slot), mFile);
        if (mFirst && !mImage.Report().mBase)
            ReplaceKnown();
        if (mCounts.mReplaced + mDoubles < mImage.Report().mLive)
            AddSlots();
        AddComments();
        return mCounts;
    }

private:
    bool IsNew(std::uint32_t slot) const { return mTargets[slot] == hollin::kNoId; }

    UnitView TextOf(std::uint32_t slot)
    {
        mUnits.clear();
        mImage.AppendText(slot, &mUnits);
        return ViewOf(mUnits);
    }

    // Sets the texts of keys that are in the table. Of equal keys in the image, the text that a
    // look-up finds counts.
    void ReplaceKnown()
    {
        std::vector<bool> isReplaced(mFirst);
        for (std::uint32_t bucket = 0; bucket < hollin::kBucketCount; ++bucket)
        {
            for (const std::uint32_t slot : mImage.SlotsIn(bucket))
            {
                const std::string_view key = mImage.Key(slot);
                if (key.empty() || hollin::BucketOf(key) != bucket)
                    continue;
                const std::uint32_t id = mTable.Find(key);
                if (id == hollin::kNoId || !IsNew(slot))
                    continue;
                mTargets[slot] = isReplaced[id] ? kDropped : id;
                if (isReplaced[id])
                {
                    ReportDouble(key, mFile);
                    ++mDoubles;
                    continue;
                }
                mTable.SetText(id, TextOf(slot));
                isReplaced[id] = true;
                ++mCounts.mReplaced;
                ++mCounts.mTexts;
            }
        }
    }

    void AddSlots()
    {
        const hollin::ImageReport& report = mImage.Report();
        mTable.Reserve(mImage.Slots(), report.mKeyBytes,
                       (report.mValueBytes + report.mCommentBytes) / sizeof(std::uint16_t));
        for (std::uint32_t slot = 0; slot < mImage.Slots(); ++slot)
        {
            const bool isNew = IsNew(slot);
            const std::uint32_t id = mTable.AddSlot(isNew ? mImage.Key(slot) : "");
            if (mTable.IsLive(id))
                mTable.SetText(id, TextOf(slot));
            if (isNew)
                mTargets[slot] = id;
        }
        for (std::uint32_t bucket = 0; bucket < hollin::kBucketCount; ++bucket)
        {
            for (const std::uint32_t slot : mImage.SlotsIn(bucket))
            {
                if (mTargets[slot] == mFirst + slot)
                    mTable.AddToBucket(bucket, mFirst + slot);
            }
        }
        for (std::uint32_t id = mFirst; id < mTable.Slots(); ++id)
            Count(id);
    }

    void Count(std::uint32_t id)
    {
        if (!mTable.IsLive(id))
            return;
        const std::uint32_t found = mTable.Find(mTable.Key(id));
        if (found == id || found == hollin::kNoId)
            ++mCounts.mTexts;
        else if (found >= mFirst)
            ReportDouble(mTable.Key(id), mFile);
    }

    void AddComments()
    {
        for (std::uint32_t index = 0; index < mImage.Comments(); ++index)
        {
            const std::uint32_t id = mTargets[mImage.CommentSlot(index)];
            mUnits.clear();
            mImage.AppendComment(index, &mUnits);
            if (id < mTable.Slots() && !mUnits.empty())
                mTable.SetComment(id, ViewOf(mUnits));
        }
    }

    const hollin::ImageView& mImage;
    const InputFile& mFile;
    EntryTable& mTable;
    const std::uint32_t mFirst;          // the identifier of the image's slot 0
    std::vector<std::uint32_t> mTargets; // the identifier of each slot's entry, or kDropped
    std::uint32_t mDoubles = 0;          // entries of replaced keys that no look-up finds
    Units mUnits;
    LoadCounts mCounts;
};
} // namespace

hollin::ImageReport FormOf(const InputFile& file, CodePage codePage)
{
    const TextBytes text(file, codePage);
    const bool hasMark = text.mBytes != file.mBytes.data(); // no image begins with one
    const hollin::ImageView image(text.mBytes, hasMark ? 0 : text.mSize);
    const bool isLegacy = image.Report().mForm == hollin::ImageReport::kBinary &&
                          !image.IsReadable() && !image.Report().mDamaged;
    return isLegacy || file.mBytes.empty() ? CheckFile(file, codePage) : image.Report();
}

LoadCounts LoadFile(const InputFile& file, const hollin::ImageReport& report,
                    const LoadOptions& options, EntryTable* table)
{
    if (IsText(report))
        return LoadTextFile(file, options, table);
    if (report.mDamaged)
        throw Failure{kFaulty, file.mName, DamageOf(report)};
    if (!report.mKeyed && report.mSlots)
        throw Failure{kFaulty, file.mName, "it has no keys"};
    if (report.mTextFlag > hollin::kEncodingUTF8 && !options.mCodePage.mIsGiven)
        throw Failure{kUnusable, file.mName,
                      "it doesn't say which code page its texts are in (see --code-page)"};
    const hollin::ImageView image(file.mBytes.data(), file.mBytes.size());
    return image.IsReadable() ? ImageLoad(image, file, table).Run() : LoadLegacyImage(file, table);
}
