// A text as a look-up finds it, and where each of its characters is written in its line.

#ifndef ZDICT_LINT_EXPANDED_TEXT_H
#define ZDICT_LINT_EXPANDED_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "lint/text_scanner.h"

// A notation that the expansion keeps as it is written, since there is no such notation.
struct UnknownNotation
{
    std::size_t mOffset;      // in the line's units
    std::u16string_view mRaw; // in the line's units
};

class ExpandedText
{
public:
    ExpandedText() = default;

    // Expands the text of a line. REQUIRES: the line outlives the object and isn't changed.
    explicit ExpandedText(const RawLine& line) { Set(line); }
    void Set(const RawLine& line); // reuses memory

    const std::u16string& Units() const { return mUnits; }

    // Returns where the unit is written, as an offset in the line. The offset of the end of the
    // text is the end of the line's text.
    std::size_t OffsetOf(std::size_t unit) const
    {
        return mOffsets.empty() ? mText + unit : mOffsets[unit];
    }

    const std::vector<UnknownNotation>& Unknown() const { return mUnknown; }

private:
    void ExpandEscapes(const RawLine& line);
    void ExpandCharacters(const RawLine& line);

    std::u16string mUnits;
    std::size_t mText = 0;
    std::vector<std::size_t> mOffsets; // empty if the text has no notation
    std::vector<UnknownNotation> mUnknown;
};

// The parts of an expanded text that the markers divide, as offsets of its units.
struct TextParts
{
    explicit TextParts(std::u16string_view text);

    std::size_t mVariantEnd = 0; // the text for another platform begins at 0
    std::size_t mShown = 0;      // after {{*MSWindows*}}
    std::size_t mShownEnd = 0;
    std::size_t mNote = std::u16string::npos; // after {{*COMMENT*}}
};

#endif
