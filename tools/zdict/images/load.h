// Loads files of any form into a table, as programs load them.

#ifndef ZDICT_IMAGES_LOAD_H
#define ZDICT_IMAGES_LOAD_H

#include <cstdint>

#include <hollin/ImageCheck.h>

#include "files.h"
#include "images/code_page.h"
#include "images/entry_table.h"
#include "lint/checks.h"

struct LoadOptions
{
    CodePage mCodePage;
    bool mComments = false; // texts are split at {{*COMMENT*}}

    CheckSet mChecks = CheckSet(); // of the reports of doubtful lines of texts
};

struct LoadCounts
{
    std::uint32_t mTexts = 0;    // of the file, each key once
    std::uint32_t mReplaced = 0; // texts of earlier files
};

// Returns the form of a file and its damage. Of an image of version 2 it returns all figures but
// mUnreachable, of a text none.
hollin::ImageReport FormOf(const InputFile& file, CodePage codePage);

// Loads a file over the entries of the table.
//
// - A text, and an image of version 1, replace the texts of known keys and add the others.
// - An image of version 2 keeps its slots. The texts of known keys are replaced and their slots
//   are removed, but not if the image has a base: it then continues the entries of the table.
//   An image of which no entry is left adds no slots.
//
// Each bad or doubtful line is reported. `report` is a result of FormOf or CheckFile.
//
// Throws: Failure for a damaged file, for an image without keys, and for a key that can't be
// looked up.
LoadCounts LoadFile(const InputFile& file, const hollin::ImageReport& report,
                    const LoadOptions& options, EntryTable* table);

// Loads a file of any form. Throws: Failure, as LoadFile.
inline void LoadAny(const InputFile& file, CodePage codePage, EntryTable* table)
{
    LoadFile(file, FormOf(file, codePage), {codePage}, table);
}

#endif
