#include "lint/warnings.h"

#include <cstdio>

#include "lint/line_checks.h"
#include "lint/report.h"
#include "messages.h"

void WarnAboutText(const InputFile& file, CodePage codePage, CheckSet checks)
{
    using Check = LintCheck;
    for (const Check check :
         {Check::kEncoding, Check::kBadPrefix, Check::kKeyEmpty, Check::kKeyNotASCII,
          Check::kKeyLength, Check::kNoEquals, Check::kDuplicateKey, Check::kTooLong})
        checks.Remove(check);
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
