#include "lint/findings.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "lint/text_notes.h"

namespace
{
// Returns whether the note of the line has the flag that switches the check off, as in
// "#, no-untranslated".
bool IsSwitchedOff(LintCheck check, const RawLine& line)
{
    if (line.mUnits.find(u"no-") == std::u16string::npos)
        return false;
    return NoteOf(ExpandedText(line)).HasFlag(std::string("no-") + InfoOf(check).mName);
}
} // namespace

void Findings::Add(Finding finding)
{
    if (Wants(finding.mCheck))
        mAll.push_back(std::move(finding));
}

void Findings::Add(LintCheck check, const std::string& file, const RawLine& line,
                   std::size_t offset, const std::string& message)
{
    if (Wants(check) && !IsSwitchedOff(check, line))
        mAll.push_back({check, file, line.mNumber, line.ColumnOf(offset), line.Key(), message});
}

void Findings::CutTo(std::size_t count)
{
    mAll.erase(mAll.begin() + static_cast<std::ptrdiff_t>(count), mAll.end());
}

void Findings::SortFrom(std::size_t first)
{
    const auto isBefore = [](const Finding& left, const Finding& right) {
        return std::tie(left.mLine, left.mColumn) < std::tie(right.mLine, right.mColumn);
    };
    std::stable_sort(mAll.begin() + static_cast<std::ptrdiff_t>(first), mAll.end(), isBefore);
}

std::size_t Findings::CountOf(Severity severity) const
{
    const auto matches = [=](const Finding& finding) {
        return InfoOf(finding.mCheck).mSeverity == severity;
    };
    return static_cast<std::size_t>(std::count_if(mAll.begin(), mAll.end(), matches));
}
