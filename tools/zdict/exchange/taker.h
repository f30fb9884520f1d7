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
// tools put it, or all keys that have its English text. If as many entries as keys have an English
// text, the entries are in the order of the keys.
class Taker
{
public:
    Taker(const std::string& file, const EntryTable& english, const TakeOptions& options,
          const OnText& onText);

    // Calls onText with the text of the entry. Of a key that is obsolete and in use, the one in use
    // counts: obsolete entries wait for Finish, and so do those whose keys are found by their
    // English texts.
    void Add(CatalogueEntry entry);

    // Throws: Failure for entries with faults, and without any entry.
    void Finish();

private:
    // The keys of one English text, and the entries in use without a key that have the text.
    struct SameText
    {
        std::vector<std::string> mKeys;
        std::size_t mEntries = 0;
        std::size_t mTaken = 0;
        bool mIsSpread = false;   // one translation, over all keys
        std::string mTranslation; // which is spread
    };

    bool IsWanted(const CatalogueEntry& entry);
    void TakeKeyless(const CatalogueEntry& entry);
    void TakeObsolete(const CatalogueEntry& entry);
    void Take(const CatalogueEntry& entry, const std::string& key);
    std::string ReferredKey(const CatalogueEntry& entry) const;
    const std::vector<std::string>& KeysOf(const CatalogueEntry& entry);
    SameText& SameTextOf(const CatalogueEntry& entry);
    void Fail(const CatalogueEntry& entry, const std::string& what);
    void ReportCount(std::size_t count, const char* thing, const char* option) const;

    const std::string mFile;
    const EntryTable& mEnglish;
    const TakeOptions mOptions;
    const OnText mOnText;
    std::unordered_map<std::string, SameText> mByText; // filled when needed
    EntryTable mKeys;                                  // of the texts
    std::vector<Place> mPlaces;                        // by the identifiers of mKeys
    std::vector<CatalogueEntry> mKeylessEntries;       // in use
    std::vector<CatalogueEntry> mObsoleteEntries;
    std::size_t mEntries = 0;
    std::size_t mFaults = 0;
    std::size_t mFuzzy = 0;
    std::size_t mObsolete = 0;
};

#endif
