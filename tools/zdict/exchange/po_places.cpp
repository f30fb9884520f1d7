#include "exchange/po_places.h"

#include <algorithm>
#include <utility>

namespace
{
const std::size_t kPartSize = 1 << 20;
const char kBlanks[] = " \t";
const char kKeywordLetters[] = "abcdefghijklmnopqrstuvwxyz_";

// Returns whether an escape whose backslash is at `at` is the number of a NUL, of which the low
// byte counts.
bool IsNul(std::string_view line, std::size_t at)
{
    const bool isHex = line.substr(at + 1, 1) == "x";
    const std::string_view digits = isHex ? "0123456789abcdefABCDEF" : "01234567";
    const std::size_t most = isHex ? line.size() : 3;
    const std::string_view rest = line.substr(std::min(line.size(), at + (isHex ? 2 : 1)), most);
    const std::string_view number =
        rest.substr(0, std::min(rest.find_first_not_of(digits), rest.size()));
    unsigned int value = 0;
    for (const char digit : number)
    {
        const int letter = digit | 0x20;
        const int one = digit <= '9' ? digit - '0' : letter - 'a' + 10;
        value = value * (isHex ? 16 : 8) + static_cast<unsigned int>(one);
    }
    return !number.empty() && (value & 0xFF) == 0;
}
} // namespace

bool POParts::Next(POPart* part)
{
    mPart = POPart();
    mPart.mFirstLine = mNow.mLine;
    mBegin = mNow;
    mEnd = mNow;
    mHasTranslation = false;
    mFlags.clear();
    while (mNow.mOffset < mText.size())
    {
        const std::size_t end = std::min(mText.find('\n', mNow.mOffset), mText.size());
        if (!AddLine(mText.substr(mNow.mOffset, end - mNow.mOffset)))
        {
            mNow = mEnd;
            break;
        }
        mNow = {std::min(end + 1, mText.size()), mNow.mLine + 1};
    }
    mIsFirst = false;
    mPart.mText = mText.substr(mBegin.mOffset, mNow.mOffset - mBegin.mOffset);
    *part = std::move(mPart);
    return !part->mText.empty();
}

// Returns the end of the string that begins at a double quote.
std::size_t POParts::AddString(std::string_view line, std::size_t at)
{
    for (++at; at < line.size() && line[at] != '"'; ++at)
    {
        if (line[at] != '\\')
            continue;
        const bool isAfterByte = static_cast<unsigned char>(line[at - 1]) >= 0x80;
        Place& nul = isAfterByte ? mPart.mNulAfterByte : mPart.mNul;
        if (!nul.mLine && IsNul(line, at))
            nul = {mNow.mLine, at + 1};
        ++at;
    }
    return std::min(at + 1, line.size());
}

// Returns false if the part ends in front of the message that begins in this line.
bool POParts::AddLine(std::string_view line)
{
    std::size_t at = std::min(line.find_first_not_of(kBlanks), line.size());
    if (line.substr(at, 2) == "#,")
    {
        mFlags += (mFlags.empty() ? "" : ",") + std::string(line.substr(at + 2));
        return true;
    }
    if (line.substr(at, 2) == "#~" && line.substr(at, 3) != "#~|")
        at += 2;
    while (at < line.size() && line[at] != '#')
    {
        if (line[at] == '"')
        {
            at = AddString(line, at);
            if (mHasTranslation)
                mEnd = {std::min(mNow.mOffset + line.size() + 1, mText.size()), mNow.mLine + 1};
            continue;
        }
        const std::size_t end = std::min(line.find_first_not_of(kKeywordLetters, at), line.size());
        if (!AddKeyword(line.substr(at, end - at), {mNow.mLine, at + 1}))
            return false;
        at = std::max(end, at + 1);
    }
    return true;
}

bool POParts::AddKeyword(std::string_view keyword, Place place)
{
    const bool isMessage = keyword == "msgid" || keyword == "msgctxt";
    if (isMessage && mHasTranslation && MayEnd())
        return false;
    if (isMessage || keyword == "msgstr")
        mHasTranslation = keyword == "msgstr";
    if (keyword == "msgid")
    {
        mPart.mMessages.push_back({place, mFlags});
        mFlags.clear();
    }
    if (keyword == "domain" && !mPart.mDomain.mLine)
        mPart.mDomain = place;
    return true;
}

// A message that begins in the line where the one before ends is in the same part. If the second
// message does, the file is one part.
bool POParts::MayEnd() const
{
    if (mEnd.mOffset == mBegin.mOffset || mEnd.mOffset > mNow.mOffset)
        return false;
    return mIsFirst ? mPart.mMessages.size() == 1 : mEnd.mOffset - mBegin.mOffset >= kPartSize;
}
