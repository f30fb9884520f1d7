#include "indep/errors/Compose.h"

#include <new>

#include <krobase/format.h>

#include "U_Encoding.h"
#include "U_Interact.h"
#include "U_ZString.h"
#include "indep/errors/Severity.h"
#include "indep/errors/Strings.h"
#include "indep/frame/Guard.h"

namespace
{
const U_u32 kLocationFormat = 105;
const char kOrder[] = "$$$/QX/U/qx_err_msg_order=@0@1";
const char kColon[] = "$$$/QX/EGG/LStr/0975=:";

U_UTF16String HostName()
{
    char name[31];
    if (const U_Status failure = U_GetName(name))
        throw failure;
    return U_MBToUTF16String(name);
}

// A translation may put the word in front of the name.
void AppendNameAndWord(const SeverityTraits& traits, U_UTF16String& prefix)
{
    U_UTF16String word;
    if (traits.mPrefix == Prefix::word)
        word = U_ZStringToUTF16String(Up_ZStringOf(traits.mWord));
    const U_UTF16String order = U_ZStringToUTF16String(kOrder);
    prefix += krobase::utility::ReplaceInString(order, HostName(), word);
    prefix += U_ZStringToUTF16String(kColon);
    prefix.push_back(' ');
}

// What a failure leaves of the prefix stands.
void AppendPrefix(U_u16 severity, U_UTF16String& text)
{
    const SeverityTraits& traits = TraitsOf(severity);
    Guarded([&] {
        if (traits.mPrefix == Prefix::indent)
            text.assign(2, ' ');
        else if (traits.mPrefix != Prefix::none)
            AppendNameAndWord(traits, text);
    });
}
} // namespace

const U_UTF16String& ComposedText::Get()
{
    if (mComposed)
        return *mComposed;
    try
    {
        U_UTF16String composed;
        AppendPrefix(mSeverity, composed);
        composed += mText;
        mComposed = std::move(composed);
    }
    catch (const std::bad_alloc&)
    {
        return mText;
    }
    return *mComposed;
}

LocationText::LocationText(U_u32 location)
{
    *mText = 0;
    if (location)
        Up_FormatString(mText, sizeof(mText), kLocationFormat, location >> 16, location & 0xFFFF);
}
