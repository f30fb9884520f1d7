// Checks that files are sound.

#include <algorithm>
#include <cstdio>

#include <platform/base/printable.h>

#include "command_options.h"
#include "commands/commands.h"
#include "images/entries.h"
#include "images/load.h"
#include "lint/line_checks.h"
#include "lint/report.h"

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

// A finding is an error if compile refuses the text, and else a warning.
Status CheckText(const InputFile& file, CodePage codePage, const CheckSet& checks)
{
    Findings findings(checks);
    LintedFile lines;
    LintFile(file, codePage, LintOptions(), &findings, &lines);
    findings.SortFrom(0);
    bool hasError = false;
    for (const Finding& finding : findings.All())
    {
        const bool isError = StopsLoads(finding.mCheck);
        const Severity severity = isError ? Severity::kError : Severity::kWarning;
        std::printf("%s\n", LineOf(finding, severity).c_str());
        hasError |= isError;
    }
    if (hasError)
        return kFaulty;
    Print(file.mName, "fine, text, " + Counted(lines.mLines.size(), "text"));
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

Status CheckOne(const std::string& name, CodePage codePage, const CheckSet& checks)
{
    try
    {
        const InputFile file = ReadFile(name);
        if (IsText(FormOf(file, codePage)))
            return CheckText(file, codePage, checks);
        return CheckImageFile(file, CheckFile(file, codePage));
    }
    catch (const Failure& failure)
    {
        Report(failure);
        return failure.mStatus;
    }
}

class Check : public Command
{
public:
    void AddOptions(CLI::App* app) override
    {
        AddCodePage(app, &mCodePage);
        AddNoCheck(app, &mOff);
        AddOperands(app, "FILE", &mFiles, "images and texts");
    }

    Status Run() override
    {
        const CheckSet checks({}, mOff);
        Status status = kFine;
        for (const std::string& name : mFiles)
            status = std::max(status, CheckOne(name, mCodePage, checks));
        return status;
    }

private:
    std::vector<std::string> mFiles;
    CodePage mCodePage;
    std::vector<std::string> mOff;
};
} // namespace

std::unique_ptr<Command> MakeCheck()
{
    return std::make_unique<Check>();
}
