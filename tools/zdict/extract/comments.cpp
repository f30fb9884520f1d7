#include "extract/comments.h"

#include <cstring>

namespace
{
std::string_view Trimmed(std::string_view text)
{
    const char* const kBlanks = " \t\r\n\v\f";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos)
        return std::string_view();
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// Returns the text of a comment, or of the end of one, without delimiters and without the stars
// and slashes that begin its lines.
std::string TextOf(std::string_view comment)
{
    if (comment.substr(0, 2) == "/*" || comment.substr(0, 2) == "//")
        comment.remove_prefix(2);
    if (comment.size() >= 2 && comment.substr(comment.size() - 2) == "*/")
        comment.remove_suffix(2);
    std::string text;
    while (!comment.empty())
    {
        const std::size_t end = comment.find('\n');
        std::string_view line = Trimmed(comment.substr(0, end));
        const std::size_t begin = line.find_first_not_of("*/!<");
        line = Trimmed(begin == std::string_view::npos ? std::string_view() : line.substr(begin));
        if (!line.empty())
            text.append(text.empty() ? "" : "\n").append(line);
        comment.remove_prefix(end == std::string_view::npos ? comment.size() : end + 1);
    }
    return text;
}

void AppendLine(const std::string& line, std::string* text)
{
    if (!line.empty())
        text->append(text->empty() ? "" : "\n").append(line);
}
} // namespace

Comments::Comments(const std::string& tag, Lines* lines, SourceTexts* found)
    : mTag(tag), mLines(lines), mFound(found), mFirstText(found->mTexts.size())
{
}

void Comments::AppendToTexts(const std::string& text)
{
    for (std::size_t i = mFirstText; i < mFound->mTexts.size(); ++i)
        AppendLine(text, &mFound->mTexts[i].mComment);
}

std::string Comments::Take(const Token& comment, std::uint64_t openLine)
{
    const std::string_view all(comment.mBegin,
                               static_cast<std::size_t>(comment.mEnd - comment.mBegin));
    const std::size_t tag = all.find(mTag);
    const bool isTagged = tag != std::string_view::npos;
    if (!isTagged && mState != kAbove && !mTrailingEnd)
        return std::string();

    std::string text = TextOf(isTagged ? all.substr(tag + mTag.size()) : all);
    const std::uint64_t beginLine = mLines->LineOf(comment.mBegin);
    const std::uint64_t column = mLines->ColumnOf(comment.mBegin);
    const std::uint64_t endLine = mLines->LineOf(comment.mEnd);
    if (isTagged && openLine == beginLine)
        return text;
    const bool isBehindTexts = isTagged && mTextLine == beginLine && mState != kAbove;
    const bool continues =
        !isTagged && mTrailingEnd && beginLine == mTrailingEnd + 1 && column == mTrailingColumn;
    if (isBehindTexts || continues)
    {
        AppendToTexts(text);
        mTrailingEnd = endLine;
        mTrailingColumn = column;
        mState = kNone;
        return std::string();
    }
    mTrailingEnd = 0;
    const bool isAdjacent = mState == kAbove && beginLine <= mEndLine + 1;
    if (!isTagged && !isAdjacent)
        mState = kNone;
    else
    {
        if (!isAdjacent)
            mText.clear();
        AppendLine(text, &mText);
        mEndLine = endLine;
        mUsedLine = 0;
        mState = kAbove;
    }
    return std::string();
}

void Comments::PassBeside(const Token& token)
{
    mTrailingEnd = 0;
    if (mState == kAbove)
        mState = mLines->LineOf(token.mBegin) <= mEndLine + 1 ? kBeside : kNone;
    else if (token.Is(';') || token.Is('}'))
        mState = kNone;
}

std::string Comments::Of(std::uint64_t line)
{
    if (mState != kBeside)
        return std::string();
    if (mUsedLine && mUsedLine != line)
    {
        mState = kNone;
        return std::string();
    }
    mUsedLine = line;
    return mText;
}

void Comments::AddText(std::uint64_t lastLine)
{
    if (lastLine != mTextLine)
        mFirstText = mFound->mTexts.size() - 1;
    mTextLine = lastLine;
}
