// The commands check and stats: damage and figures of files.

#include <algorithm>
#include <cstdio>

#include <boost/endian/conversion.hpp>

#include <hollin/Limits.h>
#include <platform/base/printable.h>

#include "command_line.h"
#include "text_input.h"

namespace
{
std::string VersionOf(const hollin::ImageReport& report)
{
    return "version " + std::to_string(report.mMajor) + "." + std::to_string(report.mMinor);
}

// Loads ignore bytes after the content, which a concatenation of files may leave.
std::string TrailingOf(const hollin::ImageReport& report)
{
    return report.mTrailing ? ", " + Counted(report.mTrailing, "byte") + " behind its end" : "";
}

void Print(const std::string& file, const std::string& what)
{
    std::printf("%s: %s\n", platform::Printable(file).c_str(), what.c_str());
}

Status CheckText(const InputFile& file, const Options& options)
{
    const TextContent content = ReadText(file, options);
    for (const LineNote& problem : content.mProblems)
        Print(file.mName,
              "damaged at line " + std::to_string(problem.mLine) + ": " + problem.mWhat);
    for (const LineNote& doubt : content.mDoubts)
        Print(file.mName, "line " + std::to_string(doubt.mLine) + ": " + doubt.mWhat);
    if (!content.mProblems.empty())
        return kFaulty;
    Print(file.mName, "fine, text, " + Counted(content.mEntries.size(), "text"));
    return kFine;
}

Status CheckImageFile(const InputFile& file, const hollin::ImageReport& report)
{
    if (report.mDamaged)
        Print(file.mName, DamageOf(report));
    else if (report.mUnreachable)
        Print(file.mName, "no look-up finds " + std::to_string(report.mUnreachable) + " of its " +
                              Counted(report.mLive, "text") + ": keys in the wrong bucket");
    else
        Print(file.mName, "fine, " + VersionOf(report) + ", " + Counted(report.mLive, "text") +
                              TrailingOf(report));
    return report.mDamaged || report.mUnreachable ? kFaulty : kFine;
}

Status CheckOne(const std::string& name, const Options& options)
{
    try
    {
        const InputFile file = ReadFile(name);
        const hollin::ImageReport report = CheckFile(file, options);
        return IsText(file, report) ? CheckText(file, options) : CheckImageFile(file, report);
    }
    catch (const Failure& failure)
    {
        Report(failure);
        return failure.mStatus;
    }
}

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

Status PrintTextFigures(const InputFile& file, const hollin::ImageReport& report,
                        const Options& options)
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
} // namespace

Status Check(const Options& options)
{
    Status status = kFine;
    for (const std::string& name : options.mOperands)
        status = std::max(status, CheckOne(name, options));
    return status;
}

Status Stats(const Options& options)
{
    const InputFile file = ReadFile(options.mOperands[0]);
    const hollin::ImageReport report = CheckFile(file, options);
    return IsText(file, report) ? PrintTextFigures(file, report, options)
                                : PrintImageFigures(file, report);
}
