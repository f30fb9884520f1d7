// Reads the text form line by line as it is written, for messages with a line and a column.
//
// The scanner sees the same lines, keys and texts as hollin::TextFormReader, and keeps all that
// the reader drops: the text around the quotes, and where each part of the line begins.
//
//     TextScanner scanner(bytes, size);
//     for (RawLine line; scanner.Next(&line);)
//         Use(line.Key(), line.ColumnOf(line.mText));

#ifndef ZDICT_LINT_TEXT_SCANNER_H
#define ZDICT_LINT_TEXT_SCANNER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A line that isn't empty. The offsets are in mUnits, and in ascending order.
struct RawLine
{
    std::uint64_t mNumber = 0; // from 1
    std::u16string mUnits;     // without the line end

    std::size_t mEntry = 0;    // after the opening quote, if there is one
    std::size_t mKey = 0;      // after "$$$"
    std::size_t mKeyEnd = 0;   // at "="
    std::size_t mText = 0;     // after "="
    std::size_t mEntryEnd = 0; // at the closing quote, if there is one

    bool mOpens = false;  // there is an opening quote
    bool mCloses = false; // there is a closing quote
    bool mHasPrefix = false;
    bool mHasBadPrefix = false; // "$" without "$$$": loads skip the line
    bool mHasEquals = false;

    bool mIsUTF16 = false; // the text, else it is in a code page

    // The offset of the first bytes that are no character of the text's coding.
    std::size_t mMalformed = std::u16string::npos;

    std::uint64_t mColumnsBefore = 0; // of the file's line, which a NUL has cut

    // The low byte of each unit, as keys are stored.
    std::string Key() const;
    std::u16string_view Text() const { return View(mText, mEntryEnd); }
    std::u16string_view View(std::size_t begin, std::size_t end) const
    {
        return std::u16string_view(mUnits).substr(begin, end - begin);
    }

    // Returns the column of an offset, in characters from 1.
    std::uint64_t ColumnOf(std::size_t offset) const;
};

class TextScanner
{
public:
    // A text with a byte-order mark is UTF-16. Any other text is in the active code page.
    //
    // REQUIRES: the bytes outlive the scanner.
    TextScanner(const unsigned char* bytes, std::size_t size);

    // Fills in the next line that isn't empty, and reuses its memory. Returns false at the end of
    // the text, and at a line that begins with a NUL, which ends the text.
    bool Next(RawLine* line);

    // Skips the lines up to the next one in which a check of lines may find anything: in the
    // others, quotes enclose a key after "$$$" and a text without notations and markers. Returns
    // the count of skipped lines. Such a line of a text in UTF-16 is not skipped.
    std::size_t SkipPlainLines();

    // The line and the column of the first NUL that was read; 0 if there was none.
    std::uint64_t NulLine() const { return mNulLine; }
    std::uint64_t NulColumn() const { return mNulColumn; }
    bool NulEndsText() const { return mNulEndsText; } // else a line

    // Returns whether the text ends with half a unit.
    bool EndsInsideUnit() const { return mUnitSize == 2 && (mEnd - mBegin) % 2; }

private:
    // Reads the units of a line, and the unit that ends the line: 0 for a NUL and for the end of
    // the text. Returns false where the text ends.
    bool ReadUnits(RawLine* line, char16_t* ender);
    bool ReadBytes(RawLine* line, char16_t* ender);
    void Convert(const unsigned char* bytes, std::size_t size, RawLine* line);
    void NoteNul(const RawLine& line);

    // Counts a line as an editor does: a carriage return with a line feed is one line end, and a
    // NUL is none.
    void CountLine(RawLine* line, char16_t ender);

    const unsigned char* mBegin;
    const unsigned char* mEnd;
    const unsigned char* mCursor;
    std::size_t mUnitSize = 1;
    bool mBigEndian = false;
    bool mIsUTF8 = false;
    std::vector<unsigned short> mConverted;
    std::uint64_t mLine = 0;
    char16_t mLastEnder = '\n';
    std::uint64_t mCutColumns = 0; // up to the NUL that ended the last line
    std::uint64_t mNulLine = 0;
    std::uint64_t mNulColumn = 0;
    bool mNulEndsText = false;
};

// Finds the parts of a line. REQUIRES: the line's units are set, its other members as constructed.
void ParseParts(RawLine* line);

#endif
