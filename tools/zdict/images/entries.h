// The entries of a file of any form, for commands that work on single texts.

#ifndef ZDICT_IMAGES_ENTRIES_H
#define ZDICT_IMAGES_ENTRIES_H

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

// Checks all of a file. The code page is used for texts and values in a code page.
hollin::ImageReport CheckFile(const InputFile& file, CodePage codePage);

// Returns whether the file is a text, as an empty file is.
bool IsText(const hollin::ImageReport& report);

// `report` is the result of CheckFile or FormOf. Each bad or doubtful line is reported.
//
// Throws: Failure, as LoadFile.
Entries ReadEntries(const InputFile& file, const hollin::ImageReport& report, CodePage codePage);

// Returns the key of a literal of the source code, which is between "$$$" and "=", or of a key.
std::string KeyOf(const std::string& literal);

// Returns the location and the kind of an image's damage.
std::string DamageOf(const hollin::ImageReport& report);

#endif
