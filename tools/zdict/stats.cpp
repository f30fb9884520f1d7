#include <cstdio>

#include <boost/endian/conversion.hpp>

#include <platform/base/printable.h>

#include "commands.h"
#include "text_source.h"

namespace
{
const unsigned int kBuckets = 1021; // of every image

void Print(const char* name, const std::string& value)
{
    std::printf("%-16s %14s\n", name, platform::Printable(value).c_str());
}

void Print(const char* name, unsigned long long value)
{
    Print(name, std::to_string(value));
}

void PrintMean(const char* name, unsigned long long total, unsigned long long count)
{
    const double mean = count ? static_cast<double>(total) / static_cast<double>(count) : 0.0;
    std::printf("%-16s %14.1f\n", name, mean);
}

void PrintByteOrder(bool bigEndian)
{
    Print("byte order", bigEndian ? "big-endian" : "little-endian");
}

Status PrintText(const InputFile& file, const hollin::ImageReport& report, const Options& options)
{
    const Entries entries = ReadEntries(file, report, options);
    const TextBytes text(file, options);
    unsigned long long keyBytes = 0;
    unsigned long long valueBytes = 0;
    for (const Entry& entry : entries)
    {
        keyBytes += entry.mKey.size();
        valueBytes += sizeof(std::uint16_t) * entry.mText.Length();
    }
    Print("form", "text");
    Print("encoding", text.mUTF16 ? "UTF-16" : "code page " + std::to_string(text.mCodePage));
    if (text.mUTF16)
        PrintByteOrder(text.mBigEndian);
    Print("bytes", file.mBytes.size());
    Print("lines", report.mSlots);
    Print("texts", entries.size());
    Print("key bytes", keyBytes);
    Print("value bytes", valueBytes);
    PrintMean("bytes a text", valueBytes, entries.size());
    return kFine;
}

void PrintHeader(const InputFile& file, const hollin::ImageReport& report)
{
    const bool bigEndianHere = boost::endian::order::native == boost::endian::order::big;
    Print("form", "image");
    Print("version", std::to_string(report.mMajor) + "." + std::to_string(report.mMinor));
    PrintByteOrder(report.mMajor < 2 ? bigEndianHere : report.mBigEndian);
    if (report.mMajor < 2)
        Print("text encoding", report.mTextFlag);
    else
        Print("locale", report.mLocale);
    Print("bytes", file.mBytes.size());
}

Status PrintImage(const InputFile& file, const hollin::ImageReport& report)
{
    if (report.mDamaged)
        throw Failure{kFaulty, file.mName, DamageOf(report)};
    PrintHeader(file, report);
    Print("keyed", report.mKeyed ? "yes" : "no");
    Print("base", report.mBase);
    Print("slots", report.mSlots);
    Print("live", report.mLive);
    Print("out of reach", report.mAstray);
    Print("buckets used", std::to_string(report.mBuckets) + " of " + std::to_string(kBuckets));
    Print("longest bucket", report.mLongestBucket);
    Print("comments", report.mComments);
    Print("key bytes", report.mKeyBytes);
    Print("value bytes", report.mValueBytes);
    Print("comment bytes", report.mCommentBytes);
    PrintMean("bytes a text", report.mValueBytes, report.mLive);
    return kFine;
}

Status Stats(const Options& options)
{
    const InputFile file = ReadFile(options.mOperands[0]);
    const hollin::ImageReport report = CheckFile(file, options);
    return IsText(file, report) ? PrintText(file, report, options) : PrintImage(file, report);
}
} // namespace

const Command kStatsCommand = {
    "stats",
    "FILE",
    "print figures of a file",
    "Prints the figures of an image of any version, or of a text, as a table. Sizes\n"
    "are in bytes; a slot is a place for an entry, which a removed one keeps.\n",
    kCodePageOption,
    1,
    1,
    Stats};
