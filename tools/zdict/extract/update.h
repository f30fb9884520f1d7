// Brings a translation up to date with new English texts.

#ifndef ZDICT_EXTRACT_UPDATE_H
#define ZDICT_EXTRACT_UPDATE_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "exchange/note.h"
#include "images/entries.h"

// English texts with their notes.
class EnglishTexts
{
public:
    explicit EnglishTexts(const Entries& entries);

    // Returns null if there is no such key.
    const NotedText* Find(const std::string& key) const;

    const std::vector<std::string>& Keys() const { return mKeys; } // in the order of the file

private:
    std::vector<std::string> mKeys;
    std::unordered_map<std::string, NotedText> mTexts;
};

struct UpdateRules
{
    bool mKeepObsolete = false;
    bool mAddNew = false; // in English, as fuzzy texts
};

struct TextChange
{
    std::uint64_t mLine; // in the translation, 0 if it is not there
    std::string mWhat;   // with the key
};

struct Updated
{
    std::string mText; // in UTF-8
    std::size_t mKept = 0;
    std::size_t mChanged = 0; // in English
    std::size_t mUnknown = 0; // whose old English text is not known
    std::size_t mNew = 0;
    std::size_t mObsolete = 0;
    std::vector<TextChange> mChanges;
};

// Updates a translation, which is in UTF-8. A line whose text stays right is not changed.
//
// `old` is the English text that the translation was made of, apart from texts whose notes have
// their English text; null if it is not known.
//
// - A text whose English text is no longer that one is marked as fuzzy, with the old English text
//   in its note. A mark and an English text that a note has are kept: a translator removes them.
// - References and the programmer's comments in notes are those of the new English text, if any
//   English text has some.
// - A line that a later line with the same key replaces is left out.
//
// REQUIRES: each line is an entry, and the active code page is UTF-8.
Updated UpdateTranslation(const std::string& translation, const EnglishTexts& english,
                          const EnglishTexts* old, const UpdateRules& rules);

#endif
