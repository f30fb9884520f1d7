#include <algorithm>
#include <cstdio>

#include <platform/base/printable.h>

#include "commands.h"
#include "text_source.h"

namespace
{
std::string VersionOf(const hollin::ImageReport& report)
{
    return "version " + std::to_string(report.mMajor) + "." + std::to_string(report.mMinor);
}

// What loads pass over, which may come of files put together.
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
    else if (report.mAstray)
        Print(file.mName, "no look-up finds " + std::to_string(report.mAstray) + " of its " +
                              Counted(report.mLive, "text") + ": keys in the wrong bucket");
    else
        Print(file.mName, "fine, " + VersionOf(report) + ", " + Counted(report.mLive, "text") +
                              TrailingOf(report));
    return report.mDamaged || report.mAstray ? kFaulty : kFine;
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
        Tell(failure);
        return failure.mStatus;
    }
}

Status Check(const Options& options)
{
    Status status = kFine;
    for (const std::string& name : options.mOperands)
        status = std::max(status, CheckOne(name, options));
    return status;
}
} // namespace

const Command kCheckCommand = {
    "check",
    "FILE...",
    "tell whether files are sound, or where they are damaged",
    "Looks over images of any version, and texts, and prints a line or more for\n"
    "each: that it is fine, or where it is damaged.\n",
    kCodePageOption,
    1,
    kAnyNumber,
    Check};
