#include "layers.h"

#include <algorithm>
#include <limits>
#include <sstream>

#include <boost/endian/conversion.hpp>

#include <hollin/Dictionary.h>

#include "messages.h"

namespace
{
const std::size_t kLargestImage = std::numeric_limits<std::int32_t>::max();

std::uint32_t SizeOf(const hollin::ZString& text)
{
    return text.Length() * static_cast<std::uint32_t>(sizeof(std::uint16_t));
}

// An empty key marks a removed entry in an image, and lengths have 16 bits.
void RequireRoom(const Entry& entry, const std::string& fileName)
{
    if (entry.mKey.empty())
        throw Failure{kFaulty, fileName, "it has an empty key, which no image can hold"};
    if (entry.mKey.size() > hollin::kLongestRun || SizeOf(entry.mText) > hollin::kLongestRun)
        throw Failure{kFaulty, fileName,
                      "no image can hold " + Quoted(entry.mKey) + ": it or its text is above " +
                          Counted(hollin::kLongestRun, "byte")};
}

std::string Serialized(hollin::Dictionary& dictionary, const Options& options)
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

// Adds one file. What it returns people have been told of.
Status AddFile(const std::string& name, const Options& options, Inputs inputs, Layers* layers)
{
    try
    {
        const InputFile file = ReadFile(name);
        const hollin::ImageReport report = CheckFile(file, options);
        if (inputs == Inputs::kTexts && report.mForm == hollin::ImageReport::kBinary)
            throw Failure{kUnusable, file.mName, "it is an image, not a text (see merge)"};
        // A text of no entries, such as an image without any is dumped to.
        const Entries entries =
            file.mBytes.empty() ? Entries() : ReadEntries(file, report, options);
        const std::size_t replaced = layers->Add(entries, file.mName);
        layers->SetLocale(report.mLocale);
        if (options.mVerbose)
            Tell(file.mName, Counted(entries.size(), "text") + ", " + std::to_string(replaced) +
                                 " in place of earlier ones");
    }
    catch (const Failure& failure)
    {
        Tell(failure);
        return failure.mStatus;
    }
    return kFine;
}
} // namespace

std::size_t Layers::Add(const Entries& entries, const std::string& fileName)
{
    std::size_t replaced = 0;
    for (const Entry& entry : entries)
    {
        RequireRoom(entry, fileName);
        const auto place = mPlaces.emplace(entry.mKey, mEntries.size());
        if (place.second)
        {
            mEntries.push_back(entry);
            continue;
        }
        Entry& earlier = mEntries[place.first->second];
        earlier.mText = entry.mText;
        if (entry.mComment.Length())
            earlier.mComment = entry.mComment;
        ++replaced;
    }
    return replaced;
}

void Layers::Write(const Options& options) const
{
    const std::string count = Counted(mEntries.size(), "text");
    if (mEntries.size() > std::numeric_limits<std::uint32_t>::max() - options.mBase)
        throw Failure{kUnusable, std::string(),
                      "behind that base there are no identifiers for " + count};
    hollin::Dictionary dictionary(true);
    dictionary.SetLanguage(options.mLocale.empty() ? mLocale.c_str() : options.mLocale.c_str());
    for (const Entry& entry : mEntries)
        dictionary.AddString(("$$$" + entry.mKey).c_str(), entry.mText.Data(), SizeOf(entry.mText),
                             entry.mComment.Data(), SizeOf(entry.mComment));
    const std::string image = Serialized(dictionary, options);
    if (image.size() > kLargestImage)
        throw Failure{kUnusable, options.mOutput, "can't be written: it would be 2 GiB or larger"};
    WriteFile(options.mOutput, image, Content::kBinary);
    if (options.mVerbose)
        Tell(std::string(), count + " in the image");
}

Status BuildImage(const Options& options, Inputs inputs)
{
    Layers layers;
    Status status = kFine;
    for (const std::string& name : options.mOperands)
        status = std::max(status, AddFile(name, options, inputs, &layers));
    if (status == kFine)
        layers.Write(options);
    else
        Tell(std::string(), "nothing is written");
    return status;
}
