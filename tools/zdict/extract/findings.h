// The literals that a reader finds in sources, before they are checked.

#ifndef ZDICT_EXTRACT_FINDINGS_H
#define ZDICT_EXTRACT_FINDINGS_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

// Bytes, or the name of a macro whose bytes are not known yet.
struct Part
{
    std::string mText;
    bool mIsMacro = false;
};

typedef std::vector<Part> Parts;

struct Place
{
    std::string mFile;
    std::uint64_t mLine = 0;   // from 1
    std::uint64_t mColumn = 0; // in bytes, from 1

    bool operator<(const Place& other) const;
};

// Returns file:line:column.
std::string ToString(const Place& place);

struct Finding
{
    Parts mParts; // joined, they begin with kPrefix
    Place mPlace; // of the first byte
    std::uint64_t mLastLine = 0;
    std::string mComment; // for translators
};

struct Problem
{
    Place mPlace;
    std::string mWhat; // a clause
    bool mIsError = false;
};

struct Findings
{
    std::vector<Finding> mTexts;
    std::vector<Problem> mProblems;
    // The values of each macro that is defined as literals.
    std::unordered_map<std::string, std::vector<Parts>> mMacros;
};

// Macros whose calls are rows of a table of texts. A pattern is the literal of a row, in which %1
// is the first argument of the call: the bytes of a literal, or any other argument as it is
// spelled. %% is a percent sign.
typedef std::unordered_map<std::string, std::string> Tables;

extern const std::string kPrefix; // "$$$/"

#endif
