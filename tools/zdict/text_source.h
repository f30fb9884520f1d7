// Dictionaries as translators write them: texts, read with an eye on mistakes
// that a load passes over.

#ifndef ZDICT_TEXT_SOURCE_H
#define ZDICT_TEXT_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "entries.h"

// The bytes of a text. A byte-order mark of UTF-8 says its code page.
struct TextBytes
{
    TextBytes(const InputFile& file, const Options& options);

    const unsigned char* mBytes; // behind a byte-order mark of UTF-8
    std::size_t mSize;
    bool mUTF16;
    bool mBigEndian = false; // of UTF-16
    unsigned int mCodePage;  // of anything else
};

struct LineNote
{
    std::uint64_t mLine; // from 1
    std::string mWhat;   // a clause
};

struct TextContent
{
    Entries mEntries;
    std::vector<LineNote> mProblems; // lines that say nothing usable
    std::vector<LineNote> mDoubts;   // lines that may say what nobody meant
};

TextContent ReadText(const InputFile& file, const Options& options);

#endif
