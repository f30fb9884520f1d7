// Reads texts as translators write them, and finds mistakes that a load ignores.

#ifndef ZDICT_IMAGES_TEXT_INPUT_H
#define ZDICT_IMAGES_TEXT_INPUT_H

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "images/load.h"

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

struct TextNotes
{
    LoadCounts mCounts;
    std::vector<LineNote> mProblems; // lines that can't be used
    bool mHasDoubts = false;         // a line without a "=", or with the key of an earlier line
};

// Returns the bytes of the text's file without the lines of the keys. All other lines are kept as
// they are.
std::string WithoutKeys(const InputFile& file, CodePage codePage,
                        const std::set<std::string>& keys);

// Loads the good lines of a text over the entries of the table.
TextNotes LoadText(const InputFile& file, const LoadOptions& options, EntryTable* table);

#endif
