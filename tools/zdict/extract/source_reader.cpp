#include "extract/source_reader.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "extract/literal.h"

const std::string kPrefix = "$$$/";
const std::string kMalformedPrefix = "$$";

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

// The keywords that stand directly before a literal.
bool IsBeforeLiteral(const std::string& name)
{
    return IsOneOf(name, {"return", "extern", "else", "case", "throw", "co_return", "co_yield"});
}

// Returns whether bytes may be the beginning of a text, or of a text with a malformed prefix.
bool MayBegin(const std::string& bytes)
{
    const std::size_t size = std::min(bytes.size(), kMalformedPrefix.size());
    return bytes.compare(0, size, kMalformedPrefix, 0, size) == 0;
}

bool IsSame(const Parts& left, const Parts& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const Part& one, const Part& other) {
                          return one.mText == other.mText && one.mIsMacro == other.mIsMacro;
                      });
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
    if (isDirective && mRun.mIsOpen && !mRun.mIsForeign && !mRun.mWords)
    {
        mIsCut = true;
        mCutPlace = mRun.mPlace;
    }
    else if (!isDirective && !mDefinition.mIsOpen)
        mIsCut = false;
    EndRun();
    if (isWord)
        return AddWord();
    mWords.clear();
    // A semicolon ends the comment of the text before it.
    mComments.Pass(mToken);

    if (mToken.mKind == Token::kDefine)
        TakeDefinition();
    else if (mToken.mKind == Token::kDirectiveEnd)
        EndDefinition();
    else if (mToken.mKind == Token::kOtherDirective && mToken.mName == "undef")
        TakeUndefinition();
    else
        mDefinition.mIsLiteral = false;
}

void SourceReader::OpenRun()
{
    mDefinition.mIsLiteral = mDefinition.mIsLiteral && !mRun.mIsOpen;
    mRun = Run();
    mRun.mIsOpen = true;
    if (mWords.empty())
        return;
    mRun.mParts.swap(mWords);
    mRun.mWords = mRun.mParts.size();
    mRun.mWordPlace = PlaceOf(mLastWord);
}

// Keeps a word that belongs to no run, since a literal may follow it directly.
void SourceReader::AddWord()
{
    const bool isKept = mLexer.MayAdjoin() && !IsBeforeLiteral(mToken.mName) &&
                        !IsOperator(mToken.mName) && !mDefinition.Has(mToken.mName);
    if (!isKept)
    {
        mWords.clear();
        mDefinition.mIsLiteral = false;
        return;
    }
    mWords.push_back({mToken.mName, true});
    mLastWord = mToken.mBegin;
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
        mRun.mIsForeign = first != '$' && first != '\\' && !mDefinition.mIsOpen && !mRun.mWords;
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

void SourceReader::TakeUndefinition()
{
    Lexer line(mToken.mBegin + 1, static_cast<std::size_t>(mToken.mEnd - mToken.mBegin) - 1);
    Token name;
    do
        line.Next(&name);
    while (name.mKind == Token::kComment || name.mName == "undef");
    mMacros.erase(name.mName);
    mAmbiguous.erase(name.mName);
}

// A second value without #undef is that of another branch of #if.
void SourceReader::Define(const Parts& value)
{
    const std::string& name = mDefinition.mName;
    mFound->mMacros[name].push_back(value);
    if (mAmbiguous.count(name))
        return;
    const auto [known, isNew] = mMacros.emplace(name, value);
    if (isNew || IsSame(known->second, value))
        return;
    mMacros.erase(known);
    mAmbiguous.insert(name);
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
        Define(run->mParts);
        // A macro that is the beginning of literals.
        const std::string& value = run->mParts.front().mText;
        const std::size_t equals = value.find('=');
        if (run->mParts.size() == 1 && (equals == std::string::npos || equals + 1 == value.size()))
            return;
    }
    if (run->mIsMacroOnly)
        return;
    const Part& first = run->mParts[run->mWords]; // a literal, or the first part of a macro
    const bool isText = !first.mIsMacro && first.mText.compare(0, kPrefix.size(), kPrefix) == 0;
    // Macros that are known later may complete the prefix.
    const bool mayBeText =
        run->mWords || first.mIsMacro ||
        (MayBegin(first.mText) && (run->mParts.size() > 1 || first.mText.size() >= kPrefix.size()));
    if (!isText && (!mayBeText || run->mIsWide || run->mHasParameter || run->mIsUnterminated))
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
    Find({std::move(run->mParts), run->mPlace, run->mLastLine, std::move(run->mComment),
          run->mWords, run->mWordPlace, run->mProblem});
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
