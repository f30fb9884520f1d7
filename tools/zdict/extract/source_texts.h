// The literals that a reader finds in sources, before they are checked.

#ifndef ZDICT_EXTRACT_SOURCE_TEXTS_H
#define ZDICT_EXTRACT_SOURCE_TEXTS_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

// Bytes, or the name of a macro whose bytes are not known yet.
struct Part
{
    std::string mText;
    bool mIsMacro = false;
    bool mIsName = false; // a macro, or a name that is spelled if there is no such macro
};

typedef std::vector<Part> Parts;

struct SourcePlace
{
    std::string mFile;
    std::uint64_t mLine = 0;   // from 1
    std::uint64_t mColumn = 0; // in bytes, from 1

    bool operator<(const SourcePlace& other) const;
};

// Returns file:line:column.
std::string ToString(const SourcePlace& place);

struct SourceText
{
    Parts mParts;
    SourcePlace mPlace; // of the first literal
    std::uint64_t mLastLine = 0;
    std::string mComment; // for translators

    // The first parts that are words directly before the first literal: keywords, or macros whose
    // values may be the beginning of the text.
    std::size_t mWords = 0;
    SourcePlace mWordPlace;         // of the last of these words
    const char* mProblem = nullptr; // of a literal, a clause
};

struct SourceProblem
{
    SourcePlace mPlace;
    std::string mWhat; // a clause
    bool mIsError = false;
};

struct SourceTexts
{
    std::vector<SourceText> mTexts;
    std::vector<SourceProblem> mProblems;
    // The values of each macro that is defined as literals.
    std::unordered_map<std::string, std::vector<Parts>> mMacros;
};

// Macros whose calls are rows of a table of texts. A pattern is the literal of a row, in which %1
// is the first argument of the call: the bytes of a literal, or any other argument as it is
// spelled. %% is a percent sign.
typedef std::unordered_map<std::string, std::string> Tables;

extern const std::string kPrefix; // "$$$/"

#endif
