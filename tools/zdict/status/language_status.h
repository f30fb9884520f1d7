// How much of the English texts a translation has.

#ifndef ZDICT_STATUS_LANGUAGE_STATUS_H
#define ZDICT_STATUS_LANGUAGE_STATUS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lint/line_checks.h"

// A text that needs work, in UTF-8.
struct StatusText
{
    std::string mKey;
    std::string mEnglish;
    std::string mTranslation;
    std::string mOldEnglish;
    std::uint64_t mLine = 0; // in the translation; 0 if it lacks the text
};

struct LanguageStatus
{
    std::string mName; // the locale of the file's name, or the file
    std::string mFile;
    std::size_t mEnglish = 0; // texts that need a translation
    std::size_t mTranslated = 0;
    std::vector<StatusText> mOutdated;     // of an older English text, or fuzzy
    std::vector<StatusText> mUntranslated; // empty, or the English text
    std::vector<StatusText> mMissing;
    std::vector<StatusText> mObsolete; // no English text has the key

    // Whole percents of the English texts, rounded down: 100 means that all are translated.
    std::size_t Percent() const { return mEnglish ? mTranslated * 100 / mEnglish : 100; }
};

// Each English text with a key of its own counts once: as translated, outdated, untranslated or
// missing. An empty English text needs no translation.
LanguageStatus StatusOf(const LintedFile& english, const LintedFile& translation);

#endif
