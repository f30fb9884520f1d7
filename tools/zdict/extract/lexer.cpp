#include "extract/lexer.h"

#include <array>
#include <cstring>
#include <string_view>

namespace
{
enum Class : unsigned char
{
    kSign, // any byte of none of the other classes
    kBlank,
    kLineEnd,
    kDigit,
    kLetter
};

constexpr std::array<Class, 256> ClassesOfBytes()
{
    std::array<Class, 256> classes = {};
    for (const char byte : {' ', '\t', '\v', '\f', '\r'})
        classes[static_cast<unsigned char>(byte)] = kBlank;
    classes['\n'] = kLineEnd;
    for (std::size_t byte = '0'; byte <= '9'; ++byte)
        classes[byte] = kDigit;
    for (std::size_t byte = 'a'; byte <= 'z'; ++byte)
        classes[byte] = classes[byte - 'a' + 'A'] = kLetter;
    for (std::size_t byte = 0x80; byte < classes.size(); ++byte)
        classes[byte] = kLetter;
    classes['_'] = classes['$'] = kLetter;
    return classes;
}

constexpr std::array<Class, 256> kClasses = ClassesOfBytes();

Class ClassOf(char byte)
{
    return kClasses[static_cast<unsigned char>(byte)];
}

// Blanks between a backslash and the line end are ignored, as compilers do.
const char* SkipContinuation(const char* bytes)
{
    if (*bytes != '\\')
        return bytes;
    const char* end = bytes + 1;
    while (ClassOf(*end) == kBlank)
        ++end;
    return *end == '\n' ? end + 1 : bytes;
}

bool MayContinueNumber(char byte)
{
    return ClassOf(byte) >= kDigit || byte == '.';
}
} // namespace

const char* SkipContinuations(const char* bytes)
{
    const char* next = SkipContinuation(bytes);
    while (next != bytes)
    {
        bytes = next;
        next = SkipContinuation(bytes);
    }
    return bytes;
}

Lexer::Lexer(const char* source, std::size_t size) : mEnd(source + size), mNext(source)
{
    const std::string_view mark = "\xEF\xBB\xBF";
    if (std::string_view(source, size).substr(0, mark.size()) == mark)
        mNext += mark.size();
}

bool Lexer::MayAdjoin() const
{
    const char* next = mNext;
    while (ClassOf(*next) == kBlank || ClassOf(*next) == kLineEnd)
        ++next;
    return ClassOf(*next) == kLetter || *next == '"' || *next == '/' || *next == '\\';
}

// Returns false at the end of the line of a #define, which is not skipped.
bool Lexer::SkipBlanks()
{
    for (;;)
    {
        const Class next = ClassOf(*mNext);
        if (next == kBlank)
            ++mNext;
        else if (next == kLineEnd)
        {
            if (mIsDefine)
                return false;
            ++mNext;
            mIsLineStart = true;
        }
        else if (*mNext == '\\' && SkipContinuation(mNext) != mNext)
            mNext = SkipContinuation(mNext);
        else
            return true;
    }
}

const char* Lexer::EndOfName(const char* begin, std::string* name) const
{
    const char* end = begin;
    for (;;)
    {
        const char* const part = end;
        while (ClassOf(*end) >= kDigit)
            ++end;
        name->append(part, static_cast<std::size_t>(end - part));
        const char* const next = SkipContinuations(end);
        if (next == end || ClassOf(*next) < kDigit)
            return end;
        end = next;
    }
}

const char* Lexer::EndOfNumber(const char* begin) const
{
    const char* end = begin;
    for (;;)
    {
        const char last = *end;
        const char* const next = SkipContinuations(end + 1);
        const bool isSign = (*next == '+' || *next == '-') && std::strchr("eEpP", last);
        if (MayContinueNumber(*next) || isSign)
            end = next;
        else if (*next == '\'' && ClassOf(*SkipContinuations(next + 1)) >= kDigit)
            end = SkipContinuations(next + 1);
        else
            return end + 1;
    }
}

const char* Lexer::EndOfBlockComment(const char* begin) const
{
    for (const char* at = begin + 2; at < mEnd; ++at)
    {
        at = static_cast<const char*>(std::memchr(at, '*', static_cast<std::size_t>(mEnd - at)));
        if (!at)
            return mEnd;
        const char* const next = SkipContinuations(at + 1);
        if (*next == '/')
            return next + 1;
    }
    return mEnd;
}

const char* Lexer::EndOfLineComment(const char* begin) const
{
    const char* line = begin;
    for (;;)
    {
        const void* const found = std::memchr(line, '\n', static_cast<std::size_t>(mEnd - line));
        if (!found)
            return mEnd;
        const char* const end = static_cast<const char*>(found);
        const char* last = end;
        while (last > line && ClassOf(last[-1]) == kBlank)
            --last;
        if (last == line || last[-1] != '\\')
            return end;
        line = end + 1;
    }
}

// Returns the closing quote, or the end of the line.
const char* Lexer::EndOfQuoted(const char* begin, char quote, bool* isTerminated) const
{
    const char* at = begin;
    while (at < mEnd && *at != '\n' && *at != quote)
    {
        const char* const next = SkipContinuations(at);
        if (next != at)
            at = next;
        else if (*at != '\\')
            ++at;
        else
        {
            const char* const escaped = SkipContinuations(at + 1);
            at = *escaped == '\n' || escaped >= mEnd ? escaped : escaped + 1;
        }
    }
    *isTerminated = at < mEnd && *at == quote;
    return at;
}

// Reads a raw literal whose prefix has been read. Returns false if the delimiter is malformed,
// and changes nothing then.
bool Lexer::ReadRawString(const char* quote, Token* token)
{
    const std::size_t kLongestDelimiter = 16;
    const char* open = quote + 1;
    while (*open != '(')
    {
        if (ClassOf(*open) == kBlank || ClassOf(*open) == kLineEnd || open >= mEnd ||
            std::strchr(")\\\"", *open) ||
            static_cast<std::size_t>(open - quote) > kLongestDelimiter)
            return false;
        ++open;
    }
    const std::string closing = ")" + std::string(quote + 1, open) + "\"";
    const std::string_view rest(open + 1, static_cast<std::size_t>(mEnd - open - 1));
    const std::size_t found = rest.find(closing);
    token->mIsTerminated = found != std::string_view::npos;
    token->mIsRaw = true;
    token->mBody = open + 1;
    token->mBodyEnd = token->mIsTerminated ? token->mBody + found : mEnd;
    mNext = token->mIsTerminated ? token->mBodyEnd + closing.size() : mEnd;
    return true;
}

void Lexer::ReadString(const char* quote, Token* token)
{
    token->mKind = Token::kString;
    token->mIsRaw = false;
    const std::string& prefix = token->mName;
    token->mIsWide = !prefix.empty() && prefix != "u8" && prefix != "u8R" && prefix != "R";
    if (prefix.empty() || prefix.back() != 'R' || !ReadRawString(quote, token))
    {
        token->mBody = quote + 1;
        token->mBodyEnd = EndOfQuoted(quote + 1, '"', &token->mIsTerminated);
        mNext = token->mBodyEnd + token->mIsTerminated;
    }
    token->mEnd = mNext;
}

// Reads an identifier, and the literal of which it is the prefix.
void Lexer::ReadWord(Token* token)
{
    const char* const end = EndOfName(mNext, &token->mName);
    const char* const quote = SkipContinuations(end);
    mNext = end;
    token->mEnd = end;
    token->mKind = Token::kIdentifier;
    if (*quote != '"' && *quote != '\'')
        return;
    const std::string_view name = token->mName;
    const bool isRaw = name.back() == 'R' && *quote == '"';
    const std::string_view width = name.substr(0, name.size() - isRaw);
    if (!width.empty() && width != "u8" && width != "u" && width != "U" && width != "L")
        return;
    if (*quote == '"')
        return ReadString(quote, token);
    bool isTerminated = false;
    mNext = EndOfQuoted(quote + 1, '\'', &isTerminated);
    mNext += isTerminated;
    token->mKind = Token::kOther;
    token->mEnd = mNext;
}

// Returns the end of the line. A comment that begins in the line and continues on the next line
// is skipped.
const char* Lexer::EndOfDirective(const char* begin) const
{
    for (const char* at = begin; at < mEnd; ++at)
    {
        at = SkipContinuations(at);
        if (*at == '\n' || at >= mEnd)
            return at;
        const char* const next = SkipContinuations(at + 1);
        if (*at == '/' && *next == '/')
            return EndOfLineComment(at);
        if (*at == '/' && *next == '*')
            at = EndOfBlockComment(next - 1) - 1;
    }
    return mEnd;
}

// The line of a directive other than #define has no text for users, and #error may hold a
// single quote.
void Lexer::ReadDirective(Token* token)
{
    ++mNext;
    for (;;)
    {
        mNext = SkipContinuations(mNext);
        if (ClassOf(*mNext) == kBlank)
            ++mNext;
        else if (*mNext == '/' && mNext[1] == '*')
            mNext = EndOfBlockComment(mNext);
        else
            break;
    }
    mNext = EndOfName(mNext, &token->mName);
    mIsDefine = token->mName == "define";
    if (!mIsDefine)
        mNext = EndOfDirective(mNext);
    token->mKind = mIsDefine ? Token::kDefine : Token::kOtherDirective;
    token->mEnd = mNext;
}

void Lexer::Next(Token* token)
{
    token->mName.clear();
    const bool isInLine = SkipBlanks();
    token->mBegin = mNext;
    token->mEnd = mNext;
    const bool isLineStart = mIsLineStart;
    const bool isEnd = mNext >= mEnd;
    if (!isInLine || (isEnd && mIsDefine))
    {
        mIsDefine = false;
        token->mKind = Token::kDirectiveEnd;
        return;
    }
    if (isEnd)
    {
        token->mKind = Token::kEnd;
        return;
    }
    const char* const second = SkipContinuations(mNext + 1);
    if (*mNext == '/' && (*second == '/' || *second == '*'))
    {
        token->mKind = Token::kComment;
        mNext = *second == '*' ? EndOfBlockComment(second - 1) : EndOfLineComment(mNext);
        token->mEnd = mNext;
        return;
    }
    mIsLineStart = false;
    if (*mNext == '#' && isLineStart && !mIsDefine)
        return ReadDirective(token);
    if (ClassOf(*mNext) == kLetter)
        return ReadWord(token);
    if (*mNext == '"')
        return ReadString(mNext, token);
    token->mKind = Token::kOther;
    bool isTerminated = false;
    if (ClassOf(*mNext) == kDigit || (*mNext == '.' && ClassOf(*second) == kDigit))
        mNext = EndOfNumber(mNext);
    else if (*mNext == '\'')
    {
        mNext = EndOfQuoted(mNext + 1, '\'', &isTerminated);
        mNext += isTerminated;
    }
    else
        ++mNext;
    token->mEnd = mNext;
}
