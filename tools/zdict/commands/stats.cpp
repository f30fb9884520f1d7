// Figures of a file.

#include <cstdio>

#include <boost/endian/conversion.hpp>

#include <hollin/Limits.h>
#include <platform/base/printable.h>

#include "command_options.h"
#include "commands/commands.h"
#include "images/entries.h"
#include "images/text_input.h"

namespace
{
void PrintRow(const char* name, const std::string& value)
{
    std::printf("%-16s %14s\n", name, platform::Printable(value).c_str());
}

void PrintRow(const char* name, unsigned long long value)
{
    PrintRow(name, std::to_string(value));
}

void PrintMean(const char* name, unsigned long long total, unsigned long long count)
{
    const double mean = count ? static_cast<double>(total) / static_cast<double>(count) : 0.0;
    std::printf("%-16s %14.1f\n", name, mean);
}

void PrintByteOrder(bool bigEndian)
{
    PrintRow("byte order", bigEndian ? "big-endian" : "little-endian");
}

Status PrintTextFigures(const InputFile& file, const hollin::ImageReport& report, CodePage codePage)
{
    const Entries entries = ReadEntries(file, report, codePage);
    const TextBytes text(file, codePage);
    unsigned long long keyBytes = 0;
    unsigned long long valueBytes = 0;
    for (const Entry& entry : entries)
    {
        keyBytes += entry.mKey.size();
        valueBytes += sizeof(std::uint16_t) * entry.mText.Length();
    }
    PrintRow("form", "text");
    PrintRow("encoding", text.mUTF16 ? "UTF-16" : "code page " + std::to_string(text.mCodePage));
    if (text.mUTF16)
        PrintByteOrder(text.mBigEndian);
    PrintRow("bytes", file.mBytes.size());
    PrintRow("lines", report.mSlots);
    PrintRow("texts", entries.size());
    PrintRow("key bytes", keyBytes);
    PrintRow("value bytes", valueBytes);
    PrintMean("bytes a text", valueBytes, entries.size());
    return kFine;
}

void PrintHeader(const InputFile& file, const hollin::ImageReport& report)
{
    const bool bigEndianHere = boost::endian::order::native == boost::endian::order::big;
    PrintRow("form", "image");
    PrintRow("version", std::to_string(report.mMajor) + "." + std::to_string(report.mMinor));
    PrintByteOrder(report.mMajor < 2 ? bigEndianHere : report.mBigEndian);
    if (report.mMajor < 2)
        PrintRow("text encoding", report.mTextFlag);
    else
        PrintRow("locale", report.mLocale);
    PrintRow("bytes", file.mBytes.size());
}

Status PrintImageFigures(const InputFile& file, const hollin::ImageReport& report)
{
    if (report.mDamaged)
        throw Failure{kFaulty, file.mName, DamageOf(report)};
    PrintHeader(file, report);
    PrintRow("keyed", report.mKeyed ? "yes" : "no");
    PrintRow("base", report.mBase);
    PrintRow("slots", report.mSlots);
    PrintRow("live", report.mLive);
    PrintRow("out of reach", report.mUnreachable);
    PrintRow("buckets used",
             std::to_string(report.mBuckets) + " of " + std::to_string(hollin::kBucketCount));
    PrintRow("longest bucket", report.mLongestBucket);
    PrintRow("comments", report.mComments);
    PrintRow("key bytes", report.mKeyBytes);
    PrintRow("value bytes", report.mValueBytes);
    PrintRow("comment bytes", report.mCommentBytes);
    PrintMean("bytes a text", report.mValueBytes, report.mLive);
    return kFine;
}

class Stats : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddOperand(app, "FILE", &mFile, "an image or a text");
    }

    Status Run() override
    {
        const InputFile file = ReadFile(mFile);
        const hollin::ImageReport report = CheckFile(file, mCodePage);
        return IsText(report) ? PrintTextFigures(file, report, mCodePage)
                              : PrintImageFigures(file, report);
    }

private:
    std::string mFile;
    CodePage mCodePage;
};
} // namespace

std::unique_ptr<Command> MakeStats()
{
    return std::make_unique<Stats>();
}
