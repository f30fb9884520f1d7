#include "lint/text_lines.h"

#include "lint/report.h"
#include "messages.h"

LintedFile ReadLines(const std::string& name, CodePage codePage)
{
    const std::vector<std::string> checks = {"not-a-text-form", "encoding",      "bad-prefix",
                                             "key-empty",       "key-not-ascii", "key-length"};
    Findings findings(CheckSet(checks, {}));
    LintedFile lines;
    LintFile(ReadFile(name), codePage, LintOptions(), &findings, &lines);
    for (const Finding& finding : findings.All())
        Report(std::string(), LineOf(finding));
    if (!findings.All().empty())
        throw Failure{kFaulty, name, std::string()};
    return lines;
}
