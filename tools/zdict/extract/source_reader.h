// Finds the texts of one source file.
//
// A text is a literal that begins with kPrefix, with the literals and the macros directly beside
// it, or a row of a table.

#ifndef ZDICT_EXTRACT_SOURCE_READER_H
#define ZDICT_EXTRACT_SOURCE_READER_H

#include <string>
#include <unordered_map>
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

    void Take();
    void TakeString();
    bool TakeWord();
    void TakeComment();
    void TakeDefinition();
    void EndDefinition();
    void OpenRun();
    void EndRun();
    void CloseRun(Run* run);
    void Extend(const Part& part);
    void ReadRow(const std::string& pattern);
    bool ReadArguments(Lexer* lexer, std::vector<Parts>* arguments, const char** end);
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
    bool mIsCut = false;                            // a directive ended the last text
    SourcePlace mCutPlace;
};

#endif
