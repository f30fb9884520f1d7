// Reads the text form of a dictionary line by line, for programs that report which line has a
// text and which line is wrong. Loads read the lines in the same way.
//
//     const std::string text = "key=value\n$=x\n";
//     hollin::TextFormReader reader(reinterpret_cast<const unsigned char*>(text.data()),
//                                   text.size());
//     std::string problems;
//     for (hollin::TextLine line; reader.Next(&line);)
//         problems += line.mProblem ? std::to_string(line.mNumber) + line.mProblem : "";
//
// Thread safety: one thread at a time uses a reader.

#ifndef HOLLIN_TEXT_FORM_READER_H
#define HOLLIN_TEXT_FORM_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "hollin/ZString.h"

namespace hollin_private
{
class DictionaryReader;
struct TextEntry;
} // namespace hollin_private

namespace hollin
{
struct TextLine
{
    std::uint64_t mNumber = 0; // from 1

    std::string mKey;         // the low byte of each character, as keys are stored
    bool mKeyIsASCII = false; // if not, no look-up finds the key
    bool mHasEquals = false;  // if not, the whole line is the key
    ZString mText;            // expanded

    // The part that is wrong, and a clause in English with the reason for which loads skip
    // the line. Null if nothing is wrong; otherwise the key and the text are empty.
    const char* mField = nullptr;
    const char* mProblem = nullptr;
};

class TextFormReader
{
public:
    // A text with a byte-order mark is UTF-16. Any other text is in the active code page.
    // `size` is in bytes.
    //
    // REQUIRES: the bytes outlive the reader.
    TextFormReader(const unsigned char* bytes, std::size_t size);
    ~TextFormReader();

    // Fills in the next line that isn't empty. Returns false at the end of the text, and at a
    // line that begins with a NUL, which ends the text.
    bool Next(TextLine* line);

private:
    const std::unique_ptr<hollin_private::DictionaryReader> mReader;
    const std::unique_ptr<hollin_private::TextEntry> mEntry; // of the line
};
} // namespace hollin

#endif
