#include "indep/errors/Compose.h"

#include <cstring>
#include <new>
#include <utility>

#include <krobase/format.h>

#include "U_Encoding.h"
#include "U_String.h"
#include "indep/errors/Globals.h"
#include "indep/errors/Severity.h"
#include "indep/frame/Guard.h"
#include "text/KeptText.h"
#include "text/OwnTexts.h"

namespace
{
const char kOrder[] = "$$$/QX/U/qx_err_msg_order=@0@1";
const char kColon[] = "$$$/QX/EGG/LStr/0975=:";

// A translation may put the word in front of the name. Without a name there is no
// prefix.
void AppendNameAndWord(const SeverityTraits& traits, U_UTF16String& prefix)
{
    const HostName name;
    if (!name.mIsKnown)
        return;
    U_UTF16String word;
    if (traits.mPrefix == Prefix::word)
        word = KeptText(Up_ZStringOf(traits.mWord));
    const U_UTF16String order = KeptText(kOrder);
    prefix += krobase::utility::ReplaceInString(order, U_MBToUTF16String(name.mText), word);
    prefix += KeptText(kColon);
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

HostName::HostName() : mIsKnown(Up_GlobalsAreGood())
{
    if (!mIsKnown && Globals())
        Up_MarkDying();
    const char* const name = mIsKnown ? Globals()->mName : "";
    U_CopyStringLen(name, strnlen(name, sizeof(mText)), sizeof(mText), mText);
}

LocationText::LocationText(U_u32 location)
{
    *mText = 0;
    if (location)
        Up_FormatString(mText, sizeof(mText), kTextLocation, location >> 16, location & 0xFFFF);
}
