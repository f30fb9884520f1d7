#include "images/build.h"

#include <algorithm>
#include <limits>

#include <hollin/ImageBuilder.h>

#include "images/entries.h"
#include "lint/warnings.h"

namespace
{
const std::size_t kLargestImage = std::numeric_limits<std::int32_t>::max();

std::uint32_t Length(UnitView text)
{
    return static_cast<std::uint32_t>(text.size());
}

// Lengths have 16 bits in an image. A text and an image of version 1 may hold longer ones.
void RequireRoom(const EntryTable& table, const std::string& fileName)
{
    const std::size_t longestText = hollin::kLongestRun / sizeof(std::uint16_t);
    for (std::uint32_t id = 0; id < table.Slots(); ++id)
    {
        if (table.Key(id).size() > hollin::kLongestRun || table.Text(id).size() > longestText ||
            table.Comment(id).size() > longestText)
            throw Failure{kFaulty, fileName,
                          "no image can hold " + Quoted(std::string(table.Key(id))) +
                              ": it or its text is above " + Counted(hollin::kLongestRun, "byte")};
    }
}

std::string Serialized(const EntryTable& table, const ImageForm& form)
{
    hollin::ImageBuilder builder(table.Slots() && !form.mNoKeys);
    builder.Reserve(table.Slots());
    for (std::uint32_t id = 0; id < table.Slots(); ++id)
        builder.AddSlot(table.Key(id), table.Text(id).data(), Length(table.Text(id)));
    for (std::uint32_t bucket = 0; bucket < hollin::kBucketCount; ++bucket)
    {
        for (const std::uint32_t id : table.Bucket(bucket))
            builder.AddToBucket(bucket, id);
    }
    for (std::uint32_t id = 0; id < table.Slots(); ++id)
    {
        if (const UnitView comment = table.Comment(id); !comment.empty())
            builder.AddComment(id, comment.data(), Length(comment));
    }
    return builder.Image(form.mLocale, form.mBigEndian, form.mBase);
}

// Loads files, and keeps the locale and the base of the result.
class Build
{
public:
    // Throws: Failure for an unknown name of a check.
    Build(const BuildOptions& options, Inputs inputs)
        : mOptions(options), mInputs(inputs), mChecks({}, options.mOffChecks)
    {
    }

    // Adds one file. Reports a failure, and returns its status.
    Status Add(const std::string& name)
    {
        try
        {
            AddFile(ReadFile(name));
        }
        catch (const Failure& failure)
        {
            Report(failure);
            return failure.mStatus;
        }
        return kFine;
    }

    void Write() const
    {
        ImageForm form = mOptions.mForm;
        form.mLocale = form.mLocale.empty() ? mLocale : form.mLocale;
        form.mBase = mOptions.mBase.value_or(mBase);
        const std::size_t live = WriteImage(mTable, form, mOptions.mOutput);
        if (mOptions.mVerbose)
            Report(std::string(), Counted(live, "text") + " in the image");
    }

private:
    void AddFile(const InputFile& file)
    {
        const hollin::ImageReport report = FormOf(file, mOptions.mLoad.mCodePage);
        if (mInputs == Inputs::kTexts && !IsText(report))
            throw Failure{kUnusable, file.mName, "it is an image, not a text (see merge)"};
        if (IsText(report))
            WarnAboutText(file, mOptions.mLoad.mCodePage, mChecks);
        RequireFit(report, file);
        LoadOptions options = mOptions.mLoad;
        options.mChecks = mChecks;
        const LoadCounts counts = LoadFile(file, report, options, &mTable);
        if (report.mMajor < 2)
            RequireRoom(mTable, file.mName);
        mLocale = report.mLocale.empty() ? mLocale : report.mLocale;
        if (mOptions.mVerbose)
            Report(file.mName, Counted(counts.mTexts, "text") + ", " +
                                   std::to_string(counts.mReplaced) + " in place of earlier ones");
    }

    // An image with a base continues the identifiers of the files before it. The first file may
    // continue a file that isn't merged.
    void RequireFit(const hollin::ImageReport& report, const InputFile& file)
    {
        if (report.mDamaged || !report.mBase)
            return;
        const std::uint64_t next = std::uint64_t(mBase) + mTable.Slots();
        if (!mTable.Slots())
            mBase = report.mBase;
        else if (report.mBase != next)
            throw Failure{kFaulty, file.mName,
                          "it continues other files: its identifiers begin at " +
                              std::to_string(report.mBase) + ", not at " + std::to_string(next)};
    }

    const BuildOptions& mOptions;
    const Inputs mInputs;
    const CheckSet mChecks;
    EntryTable mTable;
    std::string mLocale;     // of the last image
    std::uint32_t mBase = 0; // of the first image
};
} // namespace

std::size_t WriteImage(const EntryTable& table, const ImageForm& form, const std::string& output)
{
    std::size_t live = 0;
    for (std::uint32_t id = 0; id < table.Slots(); ++id)
        live += table.IsLive(id);
    if (table.Slots() > std::numeric_limits<std::uint32_t>::max() - form.mBase)
        throw Failure{kUnusable, std::string(),
                      "above that base there are no identifiers for " +
                          Counted(table.Slots(), "text")};
    const std::string image = Serialized(table, form);
    if (image.size() > kLargestImage)
        throw Failure{kUnusable, output, "can't be written: it would be 2 GiB or larger"};
    WriteFile(output, image, Content::kBinary);
    return live;
}

Status BuildImage(const BuildOptions& options, Inputs inputs)
{
    Build build(options, inputs);
    Status status = kFine;
    for (const std::string& name : options.mFiles)
        status = std::max(status, build.Add(name));
    if (status == kFine)
        build.Write();
    else
        Report(std::string(), "nothing is written");
    return status;
}
