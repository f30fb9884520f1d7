#include "extract/source_reader.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "extract/literal.h"

const std::string kPrefix = "$$$/";

namespace
{
bool IsOneOf(const std::string& name, std::initializer_list<const char*> names)
{
    return std::any_of(names.begin(), names.end(),
                       [&](const char* candidate) { return name == candidate; });
}

bool IsOperator(const std::string& name)
{
    return IsOneOf(name,
                   {"and", "and_eq", "bitand", "bitor", "not_eq", "or", "or_eq", "xor", "xor_eq"});
}

// Of the standard library, or of a user: those begin with an underscore.
bool IsLiteralSuffix(const std::string& name)
{
    return name[0] == '_' || IsOneOf(name, {"s", "sv"});
}

// Returns whether bytes may be the beginning of a text.
bool MayBegin(const std::string& bytes)
{
    const std::size_t size = std::min(bytes.size(), kPrefix.size());
    return bytes.compare(0, size, kPrefix, 0, size) == 0;
}

void AppendBytes(const std::string& bytes, Parts* parts)
{
    if (parts->empty() || parts->back().mIsMacro)
        parts->push_back({bytes, false});
    else
        parts->back().mText += bytes;
}

void AppendParts(const Parts& more, Parts* parts)
{
    for (const Part& part : more)
    {
        if (part.mIsMacro)
            parts->push_back(part);
        else
            AppendBytes(part.mText, parts);
    }
}
} // namespace

bool SourcePlace::operator<(const SourcePlace& other) const
{
    return mLine != other.mLine ? mLine < other.mLine : mColumn < other.mColumn;
}

std::string ToString(const SourcePlace& place)
{
    return place.mFile + ":" + std::to_string(place.mLine) + ":" + std::to_string(place.mColumn);
}

bool SourceReader::Definition::Has(const std::string& parameter) const
{
    return std::find(mParameters.begin(), mParameters.end(), parameter) != mParameters.end();
}

SourceReader::SourceReader(const std::string& file, const char* source, std::size_t size,
                           const ReadingRules& rules, SourceTexts* found)
    : mFile(file), mRules(rules), mFound(found), mLexer(source, size), mLines(source),
      mComments(rules.mCommentTag, &mLines, found)
{
}

void SourceReader::Read()
{
    do
    {
        mLexer.Next(&mToken);
        Take();
    } while (mToken.mKind != Token::kEnd);
}

void SourceReader::Take()
{
    if (mToken.mKind == Token::kComment)
        return TakeComment();
    const bool isWord = mToken.mKind == Token::kIdentifier;
    if (isWord || mToken.mKind == Token::kString)
        mComments.Pass(mToken);
    if (mToken.mKind == Token::kString)
        return TakeString();
    if (isWord && TakeWord())
        return;
    const bool isSign = mToken.Is('@') && mLexer.IsNext('"'); // of a literal of Objective-C
    if (isSign || (mDefinition.mHasParameters && mRun.mIsOpen && mToken.Is('#')))
        return; // the next token decides

    const bool isDirective =
        mToken.mKind == Token::kDefine || mToken.mKind == Token::kOtherDirective;
    if (isDirective && mRun.mIsOpen && !mRun.mIsForeign)
    {
        mIsCut = true;
        mCutPlace = mRun.mPlace;
    }
    else if (!isDirective && !mDefinition.mIsOpen)
        mIsCut = false;
    EndRun();
    // A semicolon ends the comment of the text before it.
    if (!isWord)
        mComments.Pass(mToken);

    if (mToken.mKind == Token::kDefine)
        TakeDefinition();
    else if (mToken.mKind == Token::kDirectiveEnd)
        EndDefinition();
    else
        mDefinition.mIsLiteral = false;
}

void SourceReader::OpenRun()
{
    mDefinition.mIsLiteral = mDefinition.mIsLiteral && !mRun.mIsOpen;
    mRun = Run();
    mRun.mIsOpen = true;
}

void SourceReader::Extend(const Part& part)
{
    if (part.mIsMacro)
        mRun.mParts.push_back(part);
    else
        AppendBytes(part.mText, &mRun.mParts);
}

void SourceReader::TakeString()
{
    if (mIsCut && !mDefinition.mIsOpen)
    {
        const std::string_view body(mToken.mBody,
                                    static_cast<std::size_t>(mToken.mBodyEnd - mToken.mBody));
        // Between #if and #else, there may be a text of its own.
        if (body.substr(0, kPrefix.size()) != kPrefix)
            Complain(mCutPlace, "a preprocessor directive divides the literal", true);
        mIsCut = false;
    }
    const char first = mToken.mBody == mToken.mBodyEnd ? '$' : *mToken.mBody;
    if (!mRun.mIsOpen)
    {
        OpenRun();
        // An escape may be a dollar sign, or the end of a line. Macros may have any value.
        mRun.mIsForeign = first != '$' && first != '\\' && !mDefinition.mIsOpen;
        if (!mRun.mIsForeign)
            mRun.mPlace = PlaceOf(mToken.mBegin);
    }
    if (mRun.mIsForeign)
        return;
    mRun.mIsMacroOnly = false;
    mRun.mIsWide |= mToken.mIsWide;
    mRun.mIsUnterminated |= !mToken.mIsTerminated;
    mRun.mEnd = mToken.mEnd;
    mRun.mLastLine = mLines.LineOf(mToken.mEnd);
    std::string bytes;
    const char* const problem = AppendLiteral(mToken, &bytes);
    mRun.mProblem = mRun.mProblem ? mRun.mProblem : problem;
    Extend({bytes, false});
    mRun.mIsForeign = !mDefinition.mIsOpen && !mRun.mParts.front().mIsMacro &&
                      !MayBegin(mRun.mParts.front().mText);
}

// Returns whether the identifier belongs to the run.
bool SourceReader::TakeWord()
{
    const bool isText = mRun.mIsOpen && !mRun.mIsForeign;
    if (isText && mDefinition.Has(mToken.mName))
    {
        mRun.mHasParameter = true;
        return true;
    }
    if (!mRules.mTables.empty() && !isText)
    {
        const auto table = mRules.mTables.find(mToken.mName);
        if (table != mRules.mTables.end())
            ReadRow(table->second);
    }
    if (!mMacros.empty())
    {
        const auto known = mMacros.find(mToken.mName);
        if (known != mMacros.end())
        {
            if (!mRun.mIsOpen)
            {
                OpenRun();
                mRun.mPlace = PlaceOf(mToken.mBegin);
                mRun.mLastLine = mRun.mPlace.mLine;
            }
            AppendParts(known->second, &mRun.mParts);
            return true;
        }
    }
    if (!isText || IsOperator(mToken.mName))
        return false;
    if (mToken.mBegin == mRun.mEnd && IsLiteralSuffix(mToken.mName))
        return true;
    Lexer ahead = mLexer;
    Token next;
    ahead.Next(&next);
    // The name of a method's argument, or the last part of a conditional.
    if (next.Is(':') && !ahead.IsNext(':'))
        return false;
    Extend({mToken.mName, true});
    return true;
}

void SourceReader::TakeComment()
{
    const bool isText = mRun.mIsOpen && !mRun.mIsForeign;
    const std::string comment = mComments.Take(mToken, isText ? mRun.mLastLine : 0);
    if (!comment.empty())
        mRun.mComment.append(mRun.mComment.empty() ? "" : "\n").append(comment);
}

// Reads the name and the parameters.
void SourceReader::TakeDefinition()
{
    mDefinition = Definition();
    mDefinition.mIsOpen = true;
    mLexer.Next(&mToken);
    if (mToken.mKind == Token::kDirectiveEnd)
        return EndDefinition();
    mDefinition.mName = mToken.mName;
    mDefinition.mHasParameters = mLexer.IsNext('(');
    while (mDefinition.mHasParameters && !mToken.Is(')'))
    {
        mLexer.Next(&mToken);
        if (mToken.mKind == Token::kIdentifier)
            mDefinition.mParameters.push_back(mToken.mName);
        else if (mToken.mKind == Token::kDirectiveEnd)
            return EndDefinition();
    }
}

void SourceReader::EndDefinition()
{
    mDefinition = Definition();
}

void SourceReader::EndRun()
{
    if (!mRun.mIsOpen)
        return;
    Run run;
    std::swap(run, mRun);
    if (!run.mIsForeign)
        CloseRun(&run);
}

void SourceReader::CloseRun(Run* run)
{
    const bool isMacro = mDefinition.mIsOpen && !mDefinition.mHasParameters &&
                         mDefinition.mIsLiteral && mToken.mKind == Token::kDirectiveEnd;
    if (isMacro && !run->mIsWide && !run->mIsUnterminated && !run->mProblem)
    {
        mMacros[mDefinition.mName] = run->mParts;
        mFound->mMacros[mDefinition.mName].push_back(run->mParts);
        // A macro that is the beginning of literals.
        const std::string& value = run->mParts.front().mText;
        const std::size_t equals = value.find('=');
        if (run->mParts.size() == 1 && (equals == std::string::npos || equals + 1 == value.size()))
            return;
    }
    const std::string& first = run->mParts.front().mText;
    const bool isText = first.compare(0, kPrefix.size(), kPrefix) == 0;
    // Macros that are known later may complete the prefix.
    if (run->mIsMacroOnly || run->mParts.front().mIsMacro || !MayBegin(first) ||
        (!isText && (run->mParts.size() == 1 || run->mIsWide || run->mHasParameter)))
        return;
    if (run->mIsWide)
        return Complain(run->mPlace, "the literal is wide, and no text", false);
    if (run->mIsUnterminated)
        return Complain(run->mPlace, "the literal isn't closed", false);
    if (run->mHasParameter && mRules.mTables.count(mDefinition.mName))
        return;
    if (run->mHasParameter)
        return Complain(run->mPlace,
                        "the literal has parameters of the macro " + mDefinition.mName +
                            " (see --table)",
                        false);
    if (run->mProblem)
        return Complain(run->mPlace, run->mProblem, true);
    Find({std::move(run->mParts), run->mPlace, run->mLastLine, std::move(run->mComment)});
}

void SourceReader::Find(SourceText text)
{
    const std::string above = mComments.Of(text.mPlace.mLine);
    if (text.mComment.empty())
        text.mComment = above;
    const std::uint64_t lastLine = text.mLastLine;
    mFound->mTexts.push_back(std::move(text));
    mComments.AddText(lastLine);
}

void SourceReader::Complain(const SourcePlace& place, const std::string& what, bool isError)
{
    mFound->mProblems.push_back({place, what, isError});
}

SourcePlace SourceReader::PlaceOf(const char* byte)
{
    const std::uint64_t line = mLines.LineOf(byte);
    return {mFile, line, mLines.ColumnOf(byte)};
}
