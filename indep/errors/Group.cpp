// Grouped messages: their identifiers, and one message for each group.

#include "U_Group.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <map>
#include <string>
#include <utility>

#include <krobase/format.h>

#include "U_Encoding.h"
#include "U_Report.h"
#include "U_ZString.h"
#include "indep/errors/UserMessages.h"
#include "text/ZString.h"

namespace
{
const size_t kNowhere = U_UTF16String::npos;
const char kGroupTag[] = "$$$/private/QX/U/GroupTag=Grouped_Message_";
const char kScoper[] = "$$$/private/QX/U/GroupTagScoper={@0}";
const char kSeparator[] = "$$$/private/QX/U/GroupTagSeparator=|||";
const char kTypeSeparator[] = "$$$/private/QX/U/TypeOfErrorSeparator=###";
const char kDefaultCountLabel[] = "$$$/QX/U/DisplayPostedErrors/Errors=Errors:";

// Returns the first position of a mark. An empty mark is not found.
size_t Find(const U_UTF16String& text, const U_UTF16String& mark, size_t from = 0)
{
    return mark.empty() ? kNowhere : text.find(mark, from);
}

// Without memory for the tag of the current language, searches for the English tag: a text with
// a tag must not be shown as it is.
size_t FindGroupTag(const U_UTF16String& text)
{
    try
    {
        return Find(text, CachedText(kGroupTag));
    }
    catch (const std::exception&)
    {
        const char* const tag = std::strchr(kGroupTag, '=') + 1;
        const auto at = std::search(text.begin(), text.end(), tag, tag + std::strlen(tag));
        return at == text.end() ? kNowhere : static_cast<size_t>(at - text.begin());
    }
}

// A text, split at its first separator.
struct Halves
{
    Halves(const U_UTF16String& text, const char* separator)
    {
        const U_UTF16String mark = U_ZStringToUTF16String(separator);
        const size_t at = Find(text, mark);
        mFound = at != kNowhere;
        mFirst = text.substr(0, at);
        if (mFound)
            mSecond = text.substr(at + mark.size());
    }

    bool mFound;
    U_UTF16String mFirst; // the whole text if there is no separator
    U_UTF16String mSecond;
};

void StoreIf(const U_UTF16String& text, U_UTF16String* output)
{
    if (output)
        *output = text;
}

const char kBlankLine[] = "$$$/QX/U/DisplayPostedErrors/TwoNewlines=#{endl}#{endl}";
const char kNumberedMessage[] = "$$$/QX/U/DisplayPostedErrors/IssueNumber=@0)   ";

U_UTF16String WithNumber(const U_UTF16String& format, std::size_t number)
{
    return krobase::utility::ReplaceInString(format,
                                             U_AsciiToUTF16String(std::to_string(number).c_str()));
}

// Severities above U_Sev_FATAL do not count: they are other kinds of messages, not graver ones.
U_u16 GravestOf(const PostedErrors& group)
{
    U_u16 gravest = U_Sev_MESSAGE;
    for (const Up_PostedError& error : group)
    {
        if (error.mSeverity <= U_Sev_FATAL)
            gravest = std::max(gravest, error.mSeverity);
    }
    return gravest;
}

// Makes one message of a group, under its heading.
class GroupMessage
{
public:
    GroupMessage(const U_UTF16String& key, const PostedErrors& errors)
        : mErrors(errors), mBlankLine(U_ZStringToUTF16String(kBlankLine))
    {
        U_ExtractSingularPluralFromUniqueGroupIdentifier(key, &mManyHeading, &mCountLabel,
                                                         &mOneHeading);
        const U_UTF16String number = U_AsciiToUTF16String("@0");
        if (mCountLabel.find(number) == U_UTF16String::npos)
            mCountLabel = number + U_AsciiToUTF16String(" ") + mCountLabel;
    }

    Up_PostedError Get() const
    {
        if (mErrors.size() > 1)
            return {NumberedList(), GravestOf(mErrors), 0, true};
        const Up_PostedError& only = mErrors.front();
        return {mOneHeading + mBlankLine + only.mText, only.mSeverity, only.mLocation, true};
    }

private:
    U_UTF16String NumberedList() const
    {
        U_UTF16String text = mManyHeading + mBlankLine + WithNumber(mCountLabel, mErrors.size());
        const U_UTF16String numbered = U_ZStringToUTF16String(kNumberedMessage);
        std::size_t number = 0;
        for (const Up_PostedError& error : mErrors)
            text += mBlankLine + WithNumber(numbered, ++number) + error.mText;
        return text;
    }

    const PostedErrors& mErrors;
    const U_UTF16String mBlankLine;
    U_UTF16String mManyHeading;
    U_UTF16String mCountLabel;
    U_UTF16String mOneHeading;
};
} // namespace

U_UTF16String U_FormUniqueGroupErrorMessageIdentifier(const U_UTF16String& manyHeading,
                                                      const U_UTF16String& countLabel,
                                                      const U_UTF16String& oneHeading)
{
    return manyHeading + U_ZStringToUTF16String(kSeparator) + oneHeading +
           U_ZStringToUTF16String(kTypeSeparator) + countLabel;
}

U_UTF16String U_GroupErrorMessage(const U_UTF16String& message, const U_UTF16String& identifier)
{
    return U_ZStringToUTF16String(kGroupTag) +
           krobase::utility::ReplaceInString(U_ZStringToUTF16String(kScoper), identifier) + message;
}

void U_ExtractSingularPluralFromUniqueGroupIdentifier(const U_UTF16String& identifier,
                                                      U_UTF16String* manyHeading,
                                                      U_UTF16String* countLabel,
                                                      U_UTF16String* oneHeading)
{
    // Split completely before the first output is set: an output may be the identifier.
    const Halves parts(identifier, kTypeSeparator);
    const Halves headings(parts.mFirst, kSeparator);
    StoreIf(headings.mFirst, manyHeading);
    StoreIf(parts.mFound ? parts.mSecond : U_ZStringToUTF16String(kDefaultCountLabel), countLabel);
    StoreIf(headings.mFound ? headings.mSecond : headings.mFirst, oneHeading);
}

U_UTF16String U_StripGroupedErrorMessage(const U_UTF16String& text, U_UTF16String* key)
{
    size_t tag = 0;
    if (!key || !Up_HasGroupTag(text, &tag))
        return text;
    const size_t brace = text.find('{', tag);
    const size_t close = text.find('}', tag);
    if (brace == kNowhere || close == kNowhere || close < brace)
        return text;

    const size_t open = brace + 1;
    U_UTF16String front =
        text.substr(0, tag == 0 ? 0 : tag - 1); // without the blank before the tag
    front.push_back(' ');
    U_UTF16String result = text.substr(close + 1); // key may be the text

    // A separator outside the braces does not belong to the identifier.
    const U_UTF16String separator = U_ZStringToUTF16String(kSeparator);
    const size_t at = Find(text, separator, open);
    if (at == kNowhere || at + separator.size() > close)
        *key = front + text.substr(open, close - open);
    else
    {
        const size_t second = at + separator.size();
        *key =
            front + text.substr(open, second - open) + front + text.substr(second, close - second);
    }
    return result;
}

bool Up_HasGroupTag(const U_UTF16String& text, size_t* position)
{
    const size_t at = FindGroupTag(text);
    if (at == kNowhere)
        return false;
    if (position)
        *position = at;
    return true;
}

void Coalesce(PostedErrors& errors)
{
    PostedErrors result;
    std::map<U_UTF16String, PostedErrors> groups;
    for (const Up_PostedError& error : errors)
    {
        Up_PostedError bare = error;
        U_UTF16String key; // stays empty without a complete tag
        bare.mText = U_StripGroupedErrorMessage(error.mText, &key);
        if (key.empty())
            result.push_back(error);
        else
            groups[key].push_back(std::move(bare));
    }
    for (const auto& [key, group] : groups)
        result.push_back(GroupMessage(key, group).Get());
    errors.swap(result);
}
