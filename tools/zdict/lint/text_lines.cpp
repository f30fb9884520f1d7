#include "lint/text_lines.h"

#include <cstdio>

#include <hollin/Markers.h>

#include "images/entries.h"
#include "images/load.h"
#include "images/text_output.h"
#include "lint/report.h"
#include "messages.h"

InputFile AsText(InputFile file, CodePage codePage)
{
    const hollin::ImageReport report = FormOf(file, codePage);
    if (IsText(report))
        return file;
    const std::string_view marker = hollin::kCommentMarker;
    Units lines;
    for (const Entry& entry : ReadEntries(file, report, codePage))
    {
        if (const char* const problem = KeyProblem(entry.mKey))
            throw Failure{kFaulty, file.mName, "the key " + Quoted(entry.mKey) + " " + problem};
        Units text(ViewOf(entry.mText).begin(), ViewOf(entry.mText).end());
        if (entry.mComment.Length())
        {
            const UnitView comment = ViewOf(entry.mComment);
            text.insert(text.end(), marker.begin(), marker.end());
            text.insert(text.end(), comment.begin(), comment.end());
        }
        AppendLine(entry.mKey, ViewOf(text), &lines);
    }
    const std::string mark = "\xEF\xBB\xBF"; // the code page is that of other files
    const std::string bytes = mark + ToUTF8(ToZString(ViewOf(lines)));
    return {file.mName, std::vector<unsigned char>(bytes.begin(), bytes.end())};
}

LintedFile ReadLines(const std::string& name, CodePage codePage)
{
    const std::vector<std::string> checks = {"not-a-text-form", "encoding",      "bad-prefix",
                                             "key-empty",       "key-not-ascii", "key-length"};
    Findings findings(CheckSet(checks, {}));
    LintedFile lines;
    LintFile(AsText(ReadFile(name), codePage), codePage, LintOptions(), &findings, &lines);
    for (const Finding& finding : findings.All())
        std::fputs((LineOf(finding) + "\n").c_str(), stderr);
    if (!findings.All().empty())
        throw Failure{kFaulty, name, std::string()};
    return lines;
}
