#include "indep/errors/Coalesce.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include <krobase/format.h>

#include "U_Encoding.h"
#include "U_Group.h"
#include "U_ZString.h"

namespace
{
const char kBlankLine[] = "$$$/QX/U/DisplayPostedErrors/TwoNewlines=#{endl}#{endl}";
const char kNumberedMessage[] = "$$$/QX/U/DisplayPostedErrors/IssueNumber=@0)   ";

U_UTF16String WithNumber(const U_UTF16String& format, std::size_t number)
{
    return krobase::utility::ReplaceInString(format,
                                             U_AsciiToUTF16String(std::to_string(number).c_str()));
}

// What is graver than fatal is of another kind and doesn't count.
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

// A group as one message under its heading.
class Group
{
public:
    Group(const U_UTF16String& key, const PostedErrors& errors)
        : mErrors(errors), mBlankLine(U_ZStringToUTF16String(kBlankLine))
    {
        U_ExtractSingularPluralFromUniqueGroupIdentifier(key, &mManyHeading, &mCountLabel,
                                                         &mOneHeading);
        const U_UTF16String number = U_AsciiToUTF16String("@0");
        if (mCountLabel.find(number) == U_UTF16String::npos)
            mCountLabel = number + U_AsciiToUTF16String(" ") + mCountLabel;
    }

    Up_PostedError Message() const
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

void Coalesce(PostedErrors& errors)
{
    PostedErrors result;
    std::map<U_UTF16String, PostedErrors> groups;
    for (const Up_PostedError& error : errors)
    {
        Up_PostedError bare = error;
        U_UTF16String key; // stays empty without a whole tag
        bare.mText = U_StripGroupedErrorMessage(error.mText, &key);
        if (key.empty())
            result.push_back(error);
        else
            groups[key].push_back(std::move(bare));
    }
    for (const auto& [key, group] : groups)
        result.push_back(Group(key, group).Message());
    errors.swap(result);
}
