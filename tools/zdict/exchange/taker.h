// The translations of exchange files as texts.

#ifndef ZDICT_EXCHANGE_TAKER_H
#define ZDICT_EXCHANGE_TAKER_H

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "exchange/catalogue.h"

struct TakeOptions
{
    bool mFuzzy = false;    // take fuzzy translations, too
    bool mObsolete = false; // take obsolete translations, too
    bool mNotes = true;     // keep the notes of the texts
};

typedef std::function<void(const std::string& key, const hollin::ZString& text)> OnText;

// Makes texts of the entries of one file. Each fault is reported with its place, and the counts
// of translations that are left out.
//
// An entry without a key gets the key of `english` that is one of its references, where some
// tools put it, or all keys that have its English text.
class Taker
{
public:
    Taker(const std::string& file, const EntryTable& english, const TakeOptions& options,
          const OnText& onText);

    // Calls onText with the text of the entry. Of a key that is obsolete and in use, the one in use
    // counts: obsolete entries wait for Finish.
    void Add(CatalogueEntry entry);

    // Throws: Failure for entries with faults, and without any entry.
    void Finish();

private:
    bool IsWanted(const CatalogueEntry& entry);
    void Take(const CatalogueEntry& entry);
    void Take(const CatalogueEntry& entry, const std::string& key);
    std::vector<std::string> KeysOf(const CatalogueEntry& entry);
    const std::vector<std::string>& KeysOfText(const std::string& text);
    void Fail(const CatalogueEntry& entry, const std::string& what);
    void ReportCount(std::size_t count, const char* thing, const char* option) const;

    const std::string mFile;
    const EntryTable& mEnglish;
    const TakeOptions mOptions;
    const OnText mOnText;
    std::unordered_map<std::string, std::vector<std::string>> mKeysByText; // filled when needed
    EntryTable mKeys;                                                      // of the texts
    std::vector<Place> mPlaces; // by the identifiers of mKeys
    std::vector<CatalogueEntry> mObsoleteEntries;
    std::size_t mEntries = 0;
    std::size_t mFaults = 0;
    std::size_t mFuzzy = 0;
    std::size_t mObsolete = 0;
};

#endif
