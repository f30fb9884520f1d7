// Rows of tables: the calls of macros whose literal has a pattern.

#include "extract/literal.h"
#include "extract/source_reader.h"

namespace
{
// One argument of a call.
struct Argument
{
    Parts mLiteral;
    std::string mSpelling;
    bool mIsLiteral = true; // so far, of literals and words
    bool mHasLiteral = false;
    const char* mEnd = nullptr;

    void Spell(const Token& token)
    {
        if (mEnd && mEnd != token.mBegin)
            mSpelling += ' ';
        mSpelling +=
            token.mKind == Token::kIdentifier ? token.mName : std::string(token.mBegin, token.mEnd);
        mEnd = token.mEnd;
    }

    Parts Value() const
    {
        if (mIsLiteral && mHasLiteral)
            return mLiteral;
        if (mIsLiteral && mLiteral.size() == 1) // a word
            return {{mSpelling, true, true}};
        return {{mSpelling, false}};
    }
};
} // namespace

// Reads the arguments of a call after its open bracket. Returns false if the call has no end or an
// argument is a parameter of the macro that is defined.
bool SourceReader::ReadArguments(Lexer* lexer, Row* row)
{
    Argument argument;
    Token token;
    for (std::size_t depth = 1;;)
    {
        lexer->Next(&token);
        if (token.mKind == Token::kComment || token.mKind == Token::kOtherDirective)
            continue;
        if (token.mKind == Token::kEnd || token.mKind == Token::kDefine ||
            token.mKind == Token::kDirectiveEnd ||
            (token.mKind == Token::kIdentifier && mDefinition.Has(token.mName)))
            return false;
        const bool isClosing = token.Is(')') || token.Is(']') || token.Is('}');
        depth -= isClosing;
        if (depth == 0 || (depth == 1 && token.Is(',')))
        {
            row->mArguments.push_back(argument.Value());
            argument = Argument();
            row->mEnd = token.mEnd;
            if (depth == 0)
                return true;
            continue;
        }
        depth += token.Is('(') || token.Is('[') || token.Is('{');
        argument.Spell(token);
        const auto known = mMacros.find(token.mName);
        if (token.mKind == Token::kString && token.mIsTerminated && !token.mIsWide)
        {
            std::string bytes;
            const char* const problem = AppendLiteral(token, &bytes);
            row->mProblem = row->mProblem ? row->mProblem : problem;
            argument.mLiteral.push_back({bytes, false});
            argument.mHasLiteral = true;
        }
        else if (token.mKind == Token::kIdentifier && known != mMacros.end())
        {
            argument.mLiteral.insert(argument.mLiteral.end(), known->second.begin(),
                                     known->second.end());
            argument.mHasLiteral = true;
        }
        else if (token.mKind == Token::kIdentifier)
            argument.mLiteral.push_back({token.mName, true});
        else
            argument.mIsLiteral = false;
    }
}

void SourceReader::ReadRow(const std::string& pattern)
{
    Lexer ahead = mLexer;
    Token open;
    ahead.Next(&open);
    if (!open.Is('('))
        return;
    EndRun();
    Row row;
    if (!ReadArguments(&ahead, &row))
        return;

    Parts parts = {{std::string(), false}};
    for (std::size_t i = 0; i < pattern.size(); ++i)
    {
        const bool isMark = pattern[i] == '%' && i + 1 < pattern.size();
        const char next = isMark ? pattern[++i] : pattern[i];
        if (!isMark || next < '1' || next > '9')
            parts.push_back({std::string(1, next), false});
        else if (const std::size_t number = static_cast<std::size_t>(next - '0');
                 number <= row.mArguments.size())
        {
            const Parts& argument = row.mArguments[number - 1];
            parts.insert(parts.end(), argument.begin(), argument.end());
        }
        else
            return Complain(PlaceOf(mToken.mBegin),
                            "the row has no argument " + std::to_string(number), true);
    }
    const SourcePlace place = PlaceOf(mToken.mBegin);
    Find({std::move(parts), place, mLines.LineOf(row.mEnd), std::string(), 0, SourcePlace(),
          row.mProblem});
}
