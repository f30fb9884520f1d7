// The scanner of the checks reads the same lines, keys and texts as the reader of loads.

#include "load.h"

#include <algorithm>

#include <hollin/TextFormReader.h>
#include <platform/control.h>

#include "tools/zdict/lint/expanded_text.h"
#include "tools/zdict/lint/parameters.h"

namespace
{
const unsigned int kCodePages[] = {65001, 1252, 932};

void RequireOffsets(const RawLine& line, const ExpandedText& text)
{
    std::size_t last = line.mText;
    for (std::size_t unit = 0; unit <= text.Units().size(); ++unit)
    {
        Require(text.OffsetOf(unit) >= last && text.OffsetOf(unit) <= line.mEntryEnd);
        last = text.OffsetOf(unit);
    }
    Require(last == line.mEntryEnd);
}

void RequirePlaces(const std::u16string& text)
{
    const Parameters places(text);
    std::size_t end = 0;
    for (const Parameter& place : places.mAll)
    {
        Require(place.mBegin >= end && place.mEnd > place.mBegin &&
                place.mFormatEnd >= place.mEnd && place.mFormatEnd <= text.size());
        end = place.mFormatEnd;
    }
    FieldsOf(text);
}

// The scanner counts lines as an editor does, which knows no NUL.
void RequireSameLine(const RawLine& line, const hollin::TextLine& read, bool hasNul)
{
    Require(hasNul ? line.mNumber <= read.mNumber : line.mNumber == read.mNumber);
    Require(line.mHasBadPrefix == (read.mProblem != nullptr));
    if (line.mHasBadPrefix)
        return;
    Require(line.Key() == read.mKey);
    Require(line.mHasEquals == read.mHasEquals);
    const ExpandedText text(line);
    const std::uint16_t* const units = read.mText.Data();
    Require(
        std::equal(text.Units().begin(), text.Units().end(), units, units + read.mText.Length()));
    RequireOffsets(line, text);
    RequirePlaces(text.Units());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = TextOf(data, size);
    platform::SetActiveCodePage(kCodePages[size % 3]);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
    hollin::TextFormReader reader(bytes, text.size());
    TextScanner scanner(bytes, text.size());
    RawLine line;
    for (hollin::TextLine read; reader.Next(&read);)
    {
        Require(scanner.Next(&line));
        RequireSameLine(line, read, scanner.NulLine() != 0);
    }
    Require(!scanner.Next(&line));
    return 0;
}
