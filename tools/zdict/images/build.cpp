#include "images/build.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <unordered_map>

#include <boost/endian/conversion.hpp>

#include <hollin/Dictionary.h>

#include "images/entries.h"
#include "lint/warnings.h"

namespace
{
const std::size_t kLargestImage = std::numeric_limits<std::int32_t>::max();

std::uint32_t ByteLength(const hollin::ZString& text)
{
    return text.Length() * static_cast<std::uint32_t>(sizeof(std::uint16_t));
}

// An empty key marks a removed entry in an image, and lengths have 16 bits.
void RequireRoom(const Entry& entry, const std::string& fileName)
{
    if (entry.mKey.empty())
        throw Failure{kFaulty, fileName, "it has an empty key, which no image can hold"};
    if (entry.mKey.size() > hollin::kLongestRun || ByteLength(entry.mText) > hollin::kLongestRun)
        throw Failure{kFaulty, fileName,
                      "no image can hold " + Quoted(entry.mKey) + ": it or its text is above " +
                          Counted(hollin::kLongestRun, "byte")};
}

std::string Serialized(hollin::Dictionary& dictionary, const BuildOptions& options)
{
    const bool bigEndianHere = boost::endian::order::native == boost::endian::order::big;
    const auto mode =
        options.mNoKeys ? hollin::Dictionary::kBinaryWithoutKeys : hollin::Dictionary::kBinary;
    std::ostringstream stream;
    if (!dictionary.Serialize(stream, mode, nullptr, options.mBigEndian == bigEndianHere,
                              options.mBase))
        throw Failure{kUnusable, options.mOutput, "can't be written: it would be too large"};
    return stream.str();
}

// The entries of several files, each key once.
class MergedEntries
{
public:
    // An entry replaces the text of an earlier entry with the same key, and the comment if
    // it has one. Returns the number of replaced texts.
    //
    // Throws: Failure, with the file's name, for an entry that no image can hold.
    std::size_t Add(const Entries& entries, const std::string& fileName);

    // Keeps the earlier locale if the name is empty.
    void SetLocale(const std::string& name) { mLocale = name.empty() ? mLocale : name; }

    void WriteImage(const BuildOptions& options) const;

private:
    Entries mEntries;
    std::unordered_map<std::string, std::size_t> mIndices; // of keys in mEntries
    std::string mLocale;
};

std::size_t MergedEntries::Add(const Entries& entries, const std::string& fileName)
{
    std::size_t replaced = 0;
    for (const Entry& entry : entries)
    {
        RequireRoom(entry, fileName);
        const auto [index, isNew] = mIndices.emplace(entry.mKey, mEntries.size());
        if (isNew)
        {
            mEntries.push_back(entry);
            continue;
        }
        Entry& earlier = mEntries[index->second];
        earlier.mText = entry.mText;
        if (entry.mComment.Length())
            earlier.mComment = entry.mComment;
        ++replaced;
    }
    return replaced;
}

void MergedEntries::WriteImage(const BuildOptions& options) const
{
    const std::string count = Counted(mEntries.size(), "text");
    if (mEntries.size() > std::numeric_limits<std::uint32_t>::max() - options.mBase)
        throw Failure{kUnusable, std::string(),
                      "above that base there are no identifiers for " + count};
    hollin::Dictionary dictionary(true);
    dictionary.SetLanguage(options.mLocale.empty() ? mLocale.c_str() : options.mLocale.c_str());
    for (const Entry& entry : mEntries)
        dictionary.AddString(("$$$" + entry.mKey).c_str(), entry.mText.Data(),
                             ByteLength(entry.mText), entry.mComment.Data(),
                             ByteLength(entry.mComment));
    const std::string image = Serialized(dictionary, options);
    if (image.size() > kLargestImage)
        throw Failure{kUnusable, options.mOutput, "can't be written: it would be 2 GiB or larger"};
    WriteFile(options.mOutput, image, Content::kBinary);
    if (options.mVerbose)
        Report(std::string(), count + " in the image");
}

// Adds one file. Reports a failure, and returns its status.
Status AddFile(const std::string& name, const BuildOptions& options, Inputs inputs,
               MergedEntries* merged)
{
    try
    {
        const InputFile file = ReadFile(name);
        const hollin::ImageReport report = CheckFile(file, options.mCodePage);
        if (inputs == Inputs::kTexts && report.mForm == hollin::ImageReport::kBinary)
            throw Failure{kUnusable, file.mName, "it is an image, not a text (see merge)"};
        if (IsText(file, report))
            WarnAboutText(file, options.mCodePage);
        // An empty file is a text without entries, as an empty image is dumped.
        const Entries entries =
            file.mBytes.empty() ? Entries() : ReadEntries(file, report, options.mCodePage);
        const std::size_t replaced = merged->Add(entries, file.mName);
        merged->SetLocale(report.mLocale);
        if (options.mVerbose)
            Report(file.mName, Counted(entries.size(), "text") + ", " + std::to_string(replaced) +
                                   " in place of earlier ones");
    }
    catch (const Failure& failure)
    {
        Report(failure);
        return failure.mStatus;
    }
    return kFine;
}
} // namespace

Status BuildImage(const BuildOptions& options, Inputs inputs)
{
    MergedEntries merged;
    Status status = kFine;
    for (const std::string& name : options.mFiles)
        status = std::max(status, AddFile(name, options, inputs, &merged));
    if (status == kFine)
        merged.WriteImage(options);
    else
        Report(std::string(), "nothing is written");
    return status;
}
