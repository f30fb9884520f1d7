#include "lint/form_judge.h"

#include "lint/units.h"
#include "messages.h"

namespace
{
const std::size_t kFewestLines = 3; // of a file whose bare words are judged

bool IsOfPO(std::u16string_view line)
{
    return line.substr(0, 6) == u"msgid " || line.substr(0, 7) == u"msgstr " ||
           line.substr(0, 8) == u"msgctxt ";
}

// Returns whether the line is a head of a section, as [general].
bool IsSection(std::u16string_view line)
{
    line = line.substr(0, line.size() - BlankEnd(line));
    return line.size() > 2 && line.front() == '[' && line.back() == ']' &&
           line.find_first_of(u"\",{") == std::u16string_view::npos;
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
    mPrefixed += line.mHasPrefix ? 1 : 0;
    mSections += IsSection(units.substr(head)) ? 1 : 0;
    const bool hasTextBefore = line.mOpens && head + 1 != line.mEntry;
    const std::u16string_view key = line.View(line.mKey, line.mKeyEnd);
    if (line.mHasPrefix || (line.mHasEquals && !hasTextBefore && !BlankEnd(key)))
        return;
    ++mUnfit;
    const bool isForeign = units.substr(head).find_first_of(u" \t;,:()") != std::u16string::npos;
    mForeign += isForeign ? 1 : 0;
}

std::string FormJudge::OtherForm() const
{
    if (mSections && !mPrefixed)
        return "it seems to be an INI file";
    if (mUnfit * 2 <= mLines)
        return std::string();
    if (mOfPO)
        return "it seems to be a PO file (see zdict import)";
    if (mFirst == '{' || mFirst == '[')
        return "it seems to be JSON";
    if (mFirst == '<')
        return "it seems to be XML (see zdict import for XLIFF)";
    if (mLines < kFewestLines && mForeign != mLines)
        return std::string();
    if (mLines == 1)
        return "its 1 line isn't key=text";
    return std::to_string(mUnfit) + " of its " + Counted(mLines, "line") + " aren't key=text";
}
