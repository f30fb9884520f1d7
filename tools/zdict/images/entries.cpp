#include "images/entries.h"

#include <platform/control.h>

#include "images/load.h"
#include "images/text_input.h"

hollin::ImageReport CheckFile(const InputFile& file, CodePage codePage)
{
    const TextBytes text(file, codePage);
    platform::SetActiveCodePage(text.mCodePage);
    if (file.mBytes.empty())
        return hollin::ImageReport(); // of a text without lines
    hollin::ImageReport report = hollin::CheckImage(text.mBytes, text.mSize);
    if (text.mBytes != file.mBytes.data())
        report.mForm = hollin::ImageReport::kText; // no image begins with a byte-order mark
    return report;
}

bool IsText(const hollin::ImageReport& report)
{
    return report.mForm == hollin::ImageReport::kText;
}

std::string KeyOf(const std::string& literal)
{
    const std::size_t begin = literal.compare(0, 3, "$$$") == 0 ? 3 : 0;
    return literal.substr(begin, literal.find('=') - begin);
}

std::string DamageOf(const hollin::ImageReport& report)
{
    return "damaged at byte " + std::to_string(report.mOffset) + " in " + report.mField + ": " +
           report.mProblem;
}

Entries ReadEntries(const InputFile& file, const hollin::ImageReport& report, CodePage codePage)
{
    EntryTable table;
    LoadFile(file, report, {codePage}, &table);
    Entries entries;
    for (const std::uint32_t id : table.Entries())
        entries.push_back(
            {std::string(table.Key(id)), ToZString(table.Text(id)), ToZString(table.Comment(id))});
    return entries;
}
