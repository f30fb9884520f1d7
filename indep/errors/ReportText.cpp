// Severities and the texts of reports.

#include "indep/errors/ReportPipeline.h"

#include <new>
#include <utility>

#include <krobase/format.h>

#include "U_Encoding.h"
#include "U_Report.h"
#include "indep/errors/Globals.h"
#include "indep/frame/Guard.h"
#include "text/OwnTexts.h"
#include "text/ZString.h"

namespace
{
const SeverityTraits kTraits[] = {
    {U_Sev_MESSAGE, false, Prefix::none, kTextNone, 0x00, 0, nullptr, nullptr},
    {U_Sev_INFO, false, Prefix::name, kTextNone, 0x40, 4, nullptr, nullptr},
    {U_Sev_WARNING, false, Prefix::word, kTextWarning, 0x30, 2, "U_Sev_WARNING", "Warning"},
    {U_Sev_PROBLEM, true, Prefix::word, kTextError, 0x10, 1, "U_Sev_PROBLEM", "Problem"},
    {U_Sev_FATAL, true, Prefix::word, kTextCannotContinue, 0x40, 4, "U_Sev_FATAL", "Fatal"},
    {U_Sev_DETAIL, false, Prefix::indent, kTextNone, 0x40, 4, nullptr, nullptr},
    {U_Sev_DEBUG, false, Prefix::word, kTextDebugInfo, 0x40, 4, nullptr, nullptr},
    {U_Sev_LEAK, false, Prefix::word, kTextWarning, 0x40, 4, nullptr, "Leak"},
};

const SeverityTraits kInvalid = {
    0, false, Prefix::word, kTextInvalidSeverity, 0x40, 4, nullptr, nullptr,
};

const char kOrder[] = "$$$/QX/U/qx_err_msg_order=@0@1";
const char kColon[] = "$$$/QX/EGG/LStr/0975=:";

// A translation may put the word before the name. Without a name there is no prefix.
void AppendNameAndWord(const SeverityTraits& traits, U_UTF16String& prefix)
{
    const HostName name;
    if (!name.mIsKnown)
        return;
    U_UTF16String word;
    if (traits.mPrefix == Prefix::word)
        word = CachedText(Up_ZStringOf(traits.mWord));
    const U_UTF16String order = CachedText(kOrder);
    prefix += krobase::utility::ReplaceInString(order, U_MBToUTF16String(name.mText), word);
    prefix += CachedText(kColon);
    prefix.push_back(' ');
}

// On failure the prefix composed so far is kept.
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

const SeverityTraits& TraitsOf(U_u16 severity)
{
    for (const SeverityTraits& traits : kTraits)
    {
        if (traits.mSeverity == severity)
            return traits;
    }
    return kInvalid;
}

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
        Up_FormatString(mText, sizeof(mText), kTextLocation, location >> 16, location & 0xFFFF);
}
