// The lines of a dictionary's text form, one by one, for programs that tell
// people which line says what and which is wrong. They are read as loads read
// them.
//
// One thread at a time uses a reader.

#ifndef HOLLIN_TEXT_LINES_H
#define HOLLIN_TEXT_LINES_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "hollin/ZString.h"

namespace hollin_private
{
class DictionaryReader;
}

namespace hollin
{
struct TextLine
{
    std::uint64_t mNumber = 0; // from 1

    std::string mKey;         // as it is stored: the low byte of each character
    bool mKeyIsASCII = false; // if not, no look-up finds what the line says
    bool mHasEquals = false;  // if not, the whole line is the key
    ZString mText;            // expanded

    // Why loads leave the line out: the part that is wrong and a clause, in
    // English. Null if nothing is wrong; otherwise there is no key and no text.
    const char* mField = nullptr;
    const char* mProblem = nullptr;
};

class TextLines
{
public:
    // A byte-order mark says that the text is UTF-16; it is in the active code
    // page otherwise. size is in bytes, which must outlive the reader.
    TextLines(const unsigned char* bytes, std::size_t size);
    ~TextLines();

    // Fills in the next line that isn't empty. False at the end of the text, and
    // at a line that begins with a NUL, which ends it.
    bool Next(TextLine* line);

private:
    const std::unique_ptr<hollin_private::DictionaryReader> mReader;
};
} // namespace hollin

#endif
