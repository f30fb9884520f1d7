#include "lint/form_judge.h"

#include "lint/units.h"
#include "messages.h"

namespace
{
const std::size_t kFewestLines = 3; // of a file that is judged by the count of its lines

bool IsOfPO(std::u16string_view line)
{
    return line.substr(0, 6) == u"msgid " || line.substr(0, 7) == u"msgstr " ||
           line.substr(0, 8) == u"msgctxt ";
}
} // namespace

void FormJudge::Add(const RawLine& line)
{
    const std::u16string_view units = line.mUnits;
    const std::size_t head = BlankHead(units);
    if (head == units.size())
        return;
    if (!mFirst)
        mFirst = units[head];
    ++mLines;
    mOfPO += IsOfPO(units) ? 1 : 0;
    const bool hasTextBefore = line.mOpens && head + 1 != line.mEntry;
    const bool isFit = line.mHasPrefix || (line.mHasEquals && !hasTextBefore);
    mUnfit += isFit ? 0 : 1;
}

std::string FormJudge::OtherForm() const
{
    if (mUnfit * 2 <= mLines)
        return std::string();
    if (mOfPO)
        return "it seems to be a PO file (see zdict import)";
    if (mFirst == '{' || mFirst == '[')
        return "it seems to be JSON";
    if (mFirst == '<')
        return "it seems to be XML (see zdict import for XLIFF)";
    if (mLines < kFewestLines)
        return std::string();
    return std::to_string(mUnfit) + " of its " + Counted(mLines, "line") + " aren't key=text";
}
