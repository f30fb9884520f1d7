// The text form of English texts.

#include <algorithm>

#include <platform/base/code_units.h>

#include "exchange/note.h"
#include "extract/english.h"
#include "images/text_output.h"

namespace
{
bool IsIntroducer(unsigned int unit)
{
    return unit == '^' || unit == '\\';
}

void AppendASCII(const char* text, Units* line)
{
    while (*text)
        line->push_back(static_cast<unsigned char>(*text++));
}

// Appends an introducer, which expands together with the unit after it. Returns how many units it
// took.
std::size_t AppendNotation(const std::uint16_t* units, const std::uint16_t* end, Units* line)
{
    const std::uint16_t unit = units[0];
    if (end - units == 1)
    {
        AppendASCII(unit == '^' ? "^^" : "#{5C}", line);
        return 1;
    }
    const std::uint16_t next = units[1];
    const bool isEnd = end - units == 2;
    if (next == '\\' && (isEnd || unit == '^'))
    {
        AppendASCII(unit == '^' ? "^^#{5C}" : "#{5C}", line);
        return 2;
    }
    if (IsIntroducer(next) || (unit == '\\' && next == '"'))
    {
        line->insert(line->end(), units, units + 2);
        return 2;
    }
    // A unit that is written with an introducer or a number of its own must not be taken for the
    // second unit of this notation.
    Units second;
    AppendText(UnitView(&next, 1), &second);
    const bool isPlain = second.size() == 1 || platform::IsHighSurrogate(next);
    line->insert(line->end(), isPlain ? 1 : 2, unit);
    return 1;
}

// Appends a text that is written in notations, so that a reader of the line finds the same text as
// a look-up in the source's literal.
void AppendWritten(const hollin::ZString& text, Units* line)
{
    const std::uint16_t* units = text.Data();
    const std::uint16_t* const end = units + text.Length();
    while (units != end)
    {
        if (IsIntroducer(*units))
        {
            units += AppendNotation(units, end, line);
            continue;
        }
        const std::size_t length = end - units > 1 && platform::IsHighSurrogate(*units) ? 2 : 1;
        AppendText(UnitView(units, length), line);
        units += length;
    }
}

Note NoteOf(const EnglishText& text, const EnglishForm& form, Note note)
{
    if (!form.mHasNotes)
        return Note();
    note.mExtracted += (note.mExtracted.empty() ? "" : "\n") + text.mComment;
    if (!form.mHasReferences)
        return note;
    for (const SourcePlace& place : text.mPlaces)
    {
        const std::string reference = place.mFile + ":" + std::to_string(place.mLine);
        if (note.mReferences.empty() || note.mReferences.back() != reference)
            note.mReferences.push_back(reference);
    }
    return note;
}
} // namespace

std::string FormatEnglish(const std::vector<EnglishText>& texts, const EnglishForm& form)
{
    std::string result;
    Units line;
    for (const EnglishText& text : texts)
    {
        const NotedText written = SplitNote(FromUTF8(text.mWritten));
        line.clear();
        AppendASCII(("\"$$$" + text.mKey + "=").c_str(), &line);
        const std::size_t head = line.size();
        AppendWritten(written.mText, &line);
        // The written text is at least as long as the text that an image holds.
        const std::size_t room = kLongestUnits - std::min(kLongestUnits, line.size() - head);
        const Note note = FittingNote(NoteOf(text, form, written.mNote), room);
        AppendText(JoinNote(hollin::ZString(), note), &line);
        AppendASCII("\"\n", &line);
        result += ToUTF8(ToZString(ViewOf(line)));
    }
    return result;
}
