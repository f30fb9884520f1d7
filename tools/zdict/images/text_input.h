// Reads texts as translators write them, and finds mistakes that a load ignores.

#ifndef ZDICT_IMAGES_TEXT_INPUT_H
#define ZDICT_IMAGES_TEXT_INPUT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "images/entries.h"

// The bytes of a text, and its coding. A text with a byte-order mark of UTF-8 is in UTF-8.
struct TextBytes
{
    TextBytes(const InputFile& file, CodePage codePage);

    const unsigned char* mBytes; // after a byte-order mark of UTF-8
    std::size_t mSize;
    bool mUTF16;
    bool mBigEndian = false; // of UTF-16
    unsigned int mCodePage;  // of other texts
};

struct LineNote
{
    std::uint64_t mLine; // from 1
    std::string mWhat;   // a clause
};

struct TextContent
{
    Entries mEntries;
    std::vector<LineNote> mProblems; // lines that can't be used
    std::vector<LineNote> mDoubts;   // lines that may be mistakes
};

TextContent ReadText(const InputFile& file, CodePage codePage);

#endif
