// Splits C, C++ and Objective-C source text into the tokens that hold texts.
//
// A backslash at the end of a line joins the line to the next one, outside raw literals. Text
// between #if 0 and #endif is split, too. Trigraphs are not known.
//
// REQUIRES: the bytes end with a NUL, which is not a part of the source, and outlive the lexer
// and its tokens.

#ifndef ZDICT_EXTRACT_LEXER_H
#define ZDICT_EXTRACT_LEXER_H

#include <cstddef>
#include <string>

struct Token
{
    enum Kind
    {
        kEnd,
        kString,
        kIdentifier,
        kOther,          // a number, a character literal, or one character that is none of these
        kComment,        // with its delimiters
        kDefine,         // the directive's name; the tokens of the line follow
        kOtherDirective, // a whole line, apart from comments that continue on the next line
        kDirectiveEnd    // of a #define
    };

    Kind mKind = kEnd;
    const char* mBegin = nullptr;
    const char* mEnd = nullptr;
    std::string mName; // of an identifier

    // Of a string:
    const char* mBody = nullptr; // without prefix, quotes, and a raw literal's delimiters
    const char* mBodyEnd = nullptr;
    bool mIsRaw = false;
    bool mIsWide = false;       // with the prefix L, u or U
    bool mIsTerminated = false; // if not, it ends with its line, or with the source if it is raw

    bool Is(char character) const { return mKind == kOther && *mBegin == character; }
};

class Lexer
{
public:
    // `size` is without the NUL.
    Lexer(const char* source, std::size_t size);

    // Fills in the next token.
    void Next(Token* token);

    // Returns whether the byte after the last token is this one.
    bool IsNext(char character) const { return *mNext == character; }

    // Returns whether a word, a literal or a comment may follow the last token.
    bool MayAdjoin() const;

private:
    bool SkipBlanks();
    const char* EndOfName(const char* begin, std::string* name) const;
    const char* EndOfNumber(const char* begin) const;
    const char* EndOfBlockComment(const char* begin) const;
    const char* EndOfLineComment(const char* begin) const;
    const char* EndOfQuoted(const char* begin, char quote, bool* isTerminated) const;
    void ReadWord(Token* token);
    void ReadString(const char* quote, Token* token);
    bool ReadRawString(const char* quote, Token* token);
    void ReadDirective(Token* token);
    const char* EndOfDirective(const char* begin) const;

    const char* const mEnd;
    const char* mNext;
    bool mIsLineStart = true;
    bool mIsDefine = false;
};

// Returns the first byte after the backslashes at ends of lines that begin at `bytes`, or
// `bytes`. A NUL must follow.
const char* SkipContinuations(const char* bytes);

#endif
