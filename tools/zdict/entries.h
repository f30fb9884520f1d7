// What a file holds, of any form.

#ifndef ZDICT_ENTRIES_H
#define ZDICT_ENTRIES_H

#include <cstdint>
#include <string>
#include <vector>

#include <hollin/ImageCheck.h>
#include <hollin/ZString.h>

#include "files.h"
#include "options.h"

struct Entry
{
    std::string mKey; // without "$$$"
    hollin::ZString mText;
    hollin::ZString mComment;
};

// Each key once, with the text that a look-up finds, in the order of the file.
typedef std::vector<Entry> Entries;

// Looks a file over. Texts and values of its own code page are taken to be in
// the one of the options.
hollin::ImageReport CheckFile(const InputFile& file, const Options& options);

// An empty file is no text but a damaged image, other than among the layers of
// an image to be made.
bool IsText(const InputFile& file, const hollin::ImageReport& report);

// report is of the same file. Throws a Failure, people having been told of each bad line, if the
// file is damaged, or holds keys that can't be looked up or none at all.
Entries ReadEntries(const InputFile& file, const hollin::ImageReport& report,
                    const Options& options);

// Where the damage of an image is, and what.
std::string DamageOf(const hollin::ImageReport& report);

#endif
