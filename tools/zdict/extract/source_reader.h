// Finds the texts of one source file.
//
// A text is a literal that begins with kPrefix, with the literals and the macros directly beside
// it, or a row of a table. Macros of other files may complete the prefix, so that a found literal
// need not begin with kPrefix.

#ifndef ZDICT_EXTRACT_SOURCE_READER_H
#define ZDICT_EXTRACT_SOURCE_READER_H

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "extract/comments.h"
#include "extract/lexer.h"
#include "extract/lines.h"
#include "extract/source_texts.h"

// How a source is read.
struct ReadingRules
{
    Tables mTables;
    std::string mCommentTag; // comments with it are for translators
};

class SourceReader
{
public:
    // `size` is without the NUL that must follow.
    //
    // REQUIRES: all arguments outlive the reader.
    SourceReader(const std::string& file, const char* source, std::size_t size,
                 const ReadingRules& rules, SourceTexts* found);

    void Read();

private:
    // Literals and macros side by side.
    struct Run
    {
        bool mIsOpen = false;
        bool mIsForeign = false; // it does not begin as a text
        bool mIsMacroOnly = true;
        bool mHasParameter = false; // of the macro that is defined
        bool mIsWide = false;
        bool mIsUnterminated = false;
        const char* mProblem = nullptr;
        const char* mEnd = nullptr; // of its last literal
        Parts mParts;
        std::size_t mWords = 0; // the first parts, in front of the first literal
        SourcePlace mWordPlace;
        SourcePlace mPlace;
        std::uint64_t mLastLine = 0;
        std::string mComment;
    };

    // The #define whose line is read.
    struct Definition
    {
        bool mIsOpen = false;
        std::string mName;
        bool mHasParameters = false;
        std::vector<std::string> mParameters;
        bool mIsLiteral = true; // the value so far is at most one run

        bool Has(const std::string& parameter) const;
    };

    // The call of a macro whose literal has a pattern.
    struct Row
    {
        std::vector<Parts> mArguments;
        const char* mEnd = nullptr;
        const char* mProblem = nullptr; // of a literal
    };

    void Take();
    void TakeString();
    bool TakeWord();
    void TakeComment();
    void TakeDefinition();
    void EndDefinition();
    void TakeUndefinition();
    void Define(const Parts& value);
    void AddWord();
    void OpenRun();
    void EndRun();
    void CloseRun(Run* run);
    void Extend(const Part& part);
    void ReadRow(const std::string& pattern);
    bool ReadArguments(Lexer* lexer, Row* row);
    void Find(SourceText text);
    void Complain(const SourcePlace& place, const std::string& what, bool isError);
    SourcePlace PlaceOf(const char* byte);

    const std::string& mFile;
    const ReadingRules& mRules;
    SourceTexts* const mFound;
    Lexer mLexer;
    Token mToken;
    Lines mLines;
    Comments mComments;
    Run mRun;
    Definition mDefinition;
    std::unordered_map<std::string, Parts> mMacros; // of this file, up to the token
    std::unordered_set<std::string> mAmbiguous;     // macros of this file with several values
    Parts mWords;                                   // directly before the token
    const char* mLastWord = nullptr;                // the begin of the last word
    bool mIsCut = false;                            // a directive ended the last text
    SourcePlace mCutPlace;
};

#endif
