// The texts of a language beside the English texts, as exchange files carry them.

#ifndef ZDICT_EXCHANGE_CATALOGUE_H
#define ZDICT_EXCHANGE_CATALOGUE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "exchange/note.h"
#include "images/entries.h"

// The translation of a text that is to be empty in a language. An empty translation is a missing
// one in all formats. Look-ups drop the marker.
extern const std::string kEmptyTranslation; // "{{*COMMENT*}}"

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

// All texts are in the form of exchange_text.h, those of the note too.
struct CatalogueEntry
{
    std::string mKey; // empty if the file does not name the key
    std::string mEnglish;
    std::string mTranslation; // empty if there is none
    Note mNote;               // with kFuzzyFlag and kObsoleteFlag
    Place mPlace;             // in the file that the entry was read from
};

struct Catalogue
{
    std::string mEnglishFile;     // the name of the English file, without its folder
    std::string mTranslationFile; // for messages
    std::string mLocale;          // as de_DE, or empty
    std::vector<CatalogueEntry> mEntries;
};

// Makes a catalogue of all English texts, with their translations. A translation without an
// English text is marked as obsolete, and a translation of an older English text as fuzzy.
//
// Throws: Failure for a key that the text form can't carry.
Catalogue MakeCatalogue(const Entries& english, const std::string& englishFile,
                        const Entries& translations, const std::string& translationFile);

struct TakeOptions
{
    bool mFuzzy = false;    // take fuzzy translations, too
    bool mObsolete = false; // take obsolete translations, too
    bool mNotes = true;     // keep the notes of the texts
};

// Returns the translations of a catalogue as texts. Each fault is reported with its place, and the
// counts of translations that are left out.
//
// An entry without a key gets the key of `english` that is one of its references, where some
// tools put it, or all keys that have its English text. If as many entries as keys have an English
// text, the entries are in the order of the keys.
//
// Throws: Failure for a catalogue with faults.
Entries TakeTranslations(const Catalogue& catalogue, const std::string& file,
                         const Entries& english, const TakeOptions& options);

#endif
