// The English texts of all sources, by key.

#ifndef ZDICT_EXTRACT_ENGLISH_H
#define ZDICT_EXTRACT_ENGLISH_H

#include <string>
#include <unordered_map>
#include <vector>

#include <hollin/Limits.h>

#include "extract/source_texts.h"

// The longest text that an image can hold, with its note.
const std::size_t kLongestUnits = hollin::kLongestRun / sizeof(std::uint16_t);

// What is taken from the found.
struct EnglishRules
{
    std::unordered_map<std::string, std::string> mDefines; // values of macros
    std::vector<std::string> mExcludedKeys;                // patterns of keys without "$$$"
};

struct EnglishText
{
    std::string mKey;     // without "$$$"
    std::string mWritten; // with its notations, in UTF-8
    std::vector<SourcePlace> mPlaces;
    std::string mComment; // the lines of all places
};

// Returns the texts in the order of their keys. Adds to the problems of the found.
std::vector<EnglishText> CollectEnglish(const EnglishRules& rules, SourceTexts* found);

struct EnglishForm
{
    bool mHasReferences = true;
    bool mHasNotes = true; // if not, neither references nor comments are written
};

// Returns the text form. Notations are kept as they are written.
std::string FormatEnglish(const std::vector<EnglishText>& texts, const EnglishForm& form);

#endif
