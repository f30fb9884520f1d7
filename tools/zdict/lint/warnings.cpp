#include "lint/warnings.h"

#include <cstdio>

#include "lint/line_checks.h"
#include "lint/report.h"
#include "messages.h"

namespace
{
void Warn(const InputFile& file, CodePage codePage, const CheckSet& checks)
{
    Findings findings(checks);
    LintFile(file, codePage, LintOptions(), &findings, nullptr);
    findings.SortFrom(0);
    for (const Finding& finding : findings.All())
    {
        if (finding.mCheck == LintCheck::kNotATextForm)
            throw Failure{kFaulty, file.mName, finding.mMessage};
        // An editor doesn't find a file after the program's name.
        std::fputs((LineOf(finding, Severity::kWarning) + "\n").c_str(), stderr);
    }
}
} // namespace

void WarnAboutText(const InputFile& file, CodePage codePage, CheckSet checks)
{
    using Check = LintCheck;
    for (const Check check :
         {Check::kEncoding, Check::kBadPrefix, Check::kKeyEmpty, Check::kKeyNotASCII,
          Check::kKeyLength, Check::kNoEquals, Check::kDuplicateKey, Check::kTooLong})
        checks.Remove(check);
    Warn(file, codePage, checks);
}

void WarnAboutDoubts(const InputFile& file, CodePage codePage, const CheckSet& checks)
{
    CheckSet doubts({InfoOf(LintCheck::kNoEquals).mName, InfoOf(LintCheck::kDuplicateKey).mName},
                    {});
    for (const LintCheck check : {LintCheck::kNoEquals, LintCheck::kDuplicateKey})
    {
        if (!checks.Has(check))
            doubts.Remove(check);
    }
    Warn(file, codePage, doubts);
}
