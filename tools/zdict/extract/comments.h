// The programmers' comments for translators directly beside literals.
//
// A comment belongs to the texts
//   - of the line in which it ends, or begins after them,
//   - of the statement or the braces that begin in the line below it, up to the first line with
//     texts.
// Comments on consecutive lines are one comment, which begins at its tag.

#ifndef ZDICT_EXTRACT_COMMENTS_H
#define ZDICT_EXTRACT_COMMENTS_H

#include <string>
#include <string_view>
#include <vector>

#include "extract/lexer.h"
#include "extract/lines.h"
#include "extract/source_texts.h"

class Comments
{
public:
    Comments(const std::string& tag, Lines* lines, SourceTexts* found);

    // A comment. `openLine` is the last line of a literal that has not ended, or 0. Returns the
    // text for that literal.
    std::string Take(const Token& comment, std::uint64_t openLine);

    // Any other token.
    void Pass(const Token& token)
    {
        if (mState != kNone || mTrailingEnd)
            PassBeside(token);
    }

    // Returns the comment of a text that begins in a line.
    std::string Of(std::uint64_t line);

    // The last text of the found, which ends in a line. A later comment may belong to it.
    void AddText(std::uint64_t lastLine);

private:
    enum State
    {
        kNone,
        kAbove, // no token has followed the comment
        kBeside // tokens have followed
    };

    void PassBeside(const Token& token);
    void AppendToTexts(const std::string& text);

    const std::string& mTag;
    Lines* const mLines;
    SourceTexts* const mFound;

    State mState = kNone;
    std::string mText;
    std::uint64_t mEndLine = 0;  // of the comment
    std::uint64_t mUsedLine = 0; // of the texts that have it

    std::size_t mFirstText = 0; // of those that end in mTextLine
    std::uint64_t mTextLine = 0;
    std::uint64_t mTrailingEnd = 0; // line of a comment after texts, while no token follows
    std::uint64_t mTrailingColumn = 0;
};

#endif
