// The texts of a language beside the English texts, as exchange files carry them.

#ifndef ZDICT_EXCHANGE_CATALOGUE_H
#define ZDICT_EXCHANGE_CATALOGUE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "exchange/note.h"
#include "images/entry_table.h"
#include "messages.h"

// The translation of a text that is to be empty in a language. An empty translation is a missing
// one in all formats. Look-ups drop the marker.
extern const std::string kEmptyOnPurpose; // "{{*COMMENT*}}"

// Of one file, further faults are counted only.
const std::size_t kMostReports = 20;

// A place in a file, from 1. A line of 0 is unknown.
struct Place
{
    std::uint64_t mLine = 0;
    std::uint64_t mColumn = 0;
};

// Returns "file:line:column".
std::string At(const std::string& file, Place place);

Failure FailureAt(const std::string& file, Place place, const std::string& what); // kFaulty

// Writes a line to standard error that begins with the place, if it is known.
void ReportAt(const std::string& file, Place place, const std::string& what);

// All texts are in the form of exchange_text.h, those of the note too.
struct CatalogueEntry
{
    std::string mKey; // empty if the file does not name the key
    std::string mEnglish;
    std::string mTranslation; // empty if there is none
    Note mNote;               // with kFuzzyFlag and kObsoleteFlag
    Place mPlace;             // in the file that the entry was read from
};

typedef std::function<void(CatalogueEntry)> OnEntry;

// An entry is made while it is written, since all entries of half a million texts take 400 MB.
struct Catalogue
{
    std::string mEnglishFile;     // the name of the English file, without its folder
    std::string mTranslationFile; // for messages
    std::string mLocale;          // as de_DE, or empty
    std::function<void(const OnEntry&)> mForEach; // calls the function for each entry, in order
    std::size_t mRoom = 0; // for the written file, so that growing copies nothing
};

// Returns the catalogue of all English texts, with their translations. A translation without an
// English text is marked as obsolete, and a translation of an older English text as fuzzy.
//
// REQUIRES: the catalogue is used while the tables are unchanged.
// Throws: Failure for a key that the text form can't carry.
Catalogue MakeCatalogue(const EntryTable& english, const std::string& englishFile,
                        const EntryTable& translations, const std::string& translationFile);

#endif
