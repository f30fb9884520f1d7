// The entries of a file of any form.

#ifndef ZDICT_IMAGES_ENTRIES_H
#define ZDICT_IMAGES_ENTRIES_H

#include <cstdint>
#include <string>
#include <vector>

#include <hollin/ImageCheck.h>
#include <hollin/ZString.h>

#include "files.h"
#include "images/code_page.h"

struct Entry
{
    std::string mKey; // without "$$$"
    hollin::ZString mText;
    hollin::ZString mComment;
};

// Each key once, with the text that a look-up finds, in the order of the file.
typedef std::vector<Entry> Entries;

// Checks a file. The code page is used for texts and values in a code page.
hollin::ImageReport CheckFile(const InputFile& file, CodePage codePage);

// Returns whether the file is a text. An empty file is a damaged image.
bool IsText(const InputFile& file, const hollin::ImageReport& report);

// `report` is the result of CheckFile. Each bad or doubtful line is reported.
//
// Throws: Failure for a damaged file, for an image without keys, and for a key that can't be
// looked up.
Entries ReadEntries(const InputFile& file, const hollin::ImageReport& report, CodePage codePage);

// Returns the location and the kind of an image's damage.
std::string DamageOf(const hollin::ImageReport& report);

#endif
