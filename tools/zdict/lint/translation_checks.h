// The checks of a translation beside the English text.

#ifndef ZDICT_LINT_TRANSLATION_CHECKS_H
#define ZDICT_LINT_TRANSLATION_CHECKS_H

#include "lint/line_checks.h"

// Checks all texts of a translation, and which keys it lacks and which it has alone.
void LintTranslation(const LintedFile& english, const LintedFile& translation, Findings* findings);

// A text and the English text of its key.
struct TextPair
{
    TextPair(const RawLine& english, const RawLine& translation);

    ExpandedText mEnglish;
    ExpandedText mTranslation;
    TextParts mEnglishParts;
    TextParts mTranslationParts;

    std::u16string_view English() const; // as a look-up shows it, before the year is set
    std::u16string_view Translation() const;

    // Returns the old English text if the translation isn't of the English text of today: its
    // note names another one, or says that the translation is fuzzy. In the second case the text
    // may be empty.
    bool IsOutdated(std::string* oldEnglish) const;

    // Returns whether the translation is the English text, and the text has a word.
    bool IsUntranslated() const;
};

#endif
