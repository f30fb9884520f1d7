// Severities and the texts of reports.

#include "indep/errors/ReportPipeline.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <new>
#include <numeric>
#include <utility>

#include <krobase/format.h>
#include <platform/base/per_thread.h>
#include <win32/text.h>

#include "U_Encoding.h"
#include "U_Report.h"
#include "U_String.h"
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

// The prefix of one severity, as a thread has composed it last. Most prefixes have room.
struct KeptPrefix
{
    std::size_t mLength; // 0: none is kept
    U_u16 mUnits[64];
};

// All that a prefix depends on besides its severity.
struct PrefixOrigin
{
    bool operator==(const PrefixOrigin& other) const
    {
        return mGeneration == other.mGeneration && mCodePage == other.mCodePage &&
               std::strcmp(mName.mText, other.mName.mText) == 0;
    }

    HostName mName;
    U_u32 mGeneration = ZLocaleGeneration();
    unsigned int mCodePage = win32::GetACP();
};

// The prefixes of a thread: the last one is that of invalid severities.
struct KeptPrefixes
{
    PrefixOrigin mOrigin;
    KeptPrefix mPrefixes[std::size(kTraits) + 1];
};

// Returns the prefix's place in the calling thread, null without memory.
KeptPrefix* PlaceOf(const SeverityTraits& traits, const PrefixOrigin& origin)
{
    KeptPrefixes* const kept = platform::PerThread<KeptPrefixes>::Make();
    if (!kept)
        return nullptr;
    if (!(kept->mOrigin == origin))
        *kept = {origin, {}};
    const bool isValid = &traits != &kInvalid;
    return &kept->mPrefixes[isValid ? &traits - kTraits : std::ptrdiff_t(std::size(kTraits))];
}

// A translation may put the word before the name.
void AppendNameAndWord(const SeverityTraits& traits, const HostName& name, U_UTF16String& prefix)
{
    U_UTF16String word;
    if (traits.mPrefix == Prefix::word)
        word = CachedText(Up_ZStringOf(traits.mWord));
    const U_UTF16String order = CachedText(kOrder);
    prefix += krobase::utility::ReplaceInString(order, U_MBToUTF16String(name.mText), word);
    prefix += CachedText(kColon);
    prefix.push_back(' ');
}

// Without a name there is no prefix. `textLength` is the length of the text that will follow.
//
// REQUIRES: `prefix` is empty.
void TakePrefix(const SeverityTraits& traits, std::size_t textLength, U_UTF16String& prefix)
{
    const PrefixOrigin origin;
    if (!origin.mName.mIsKnown)
        return;
    const KeptPrefix* const place = PlaceOf(traits, origin);
    if (place && place->mLength)
    {
        const KeptPrefix kept = *place; // a new handler that reports may replace it
        prefix.reserve(kept.mLength + textLength);
        prefix.assign(kept.mUnits, kept.mLength);
        return;
    }
    AppendNameAndWord(traits, origin.mName, prefix);
    KeptPrefix* const free = PlaceOf(traits, origin);
    if (free && prefix.size() <= std::size(free->mUnits))
        free->mLength = prefix.copy(free->mUnits, prefix.size());
}

// On failure the prefix composed so far is kept.
void AppendPrefix(U_u16 severity, std::size_t textLength, U_UTF16String& text)
{
    const SeverityTraits& traits = TraitsOf(severity);
    Guarded([&] {
        if (traits.mPrefix == Prefix::indent)
            text.assign(2, ' ');
        else if (traits.mPrefix != Prefix::none)
            TakePrefix(traits, textLength, text);
    });
}

// Fills a format whose fields are the %d of two values, as printf does.
// Returns false if the text has no room.
bool Fill(const char* format, const U_u32 (&values)[2], char (&out)[sizeof(LocationText::mText)])
{
    const U_u32* value = values;
    char* at = out;
    for (const char* const end = std::end(out) - 1; *format; ++format)
    {
        if (at == end)
            return false;
        if (*format != '%')
        {
            *at++ = *format;
            continue;
        }
        ++format;
        if (*format != 'd' || value == std::end(values))
            return false;
        const std::to_chars_result result = std::to_chars(at, out + sizeof(out) - 1, *value++);
        if (result.ec != std::errc())
            return false;
        at = result.ptr;
    }
    *at = 0;
    return true;
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
        AppendPrefix(mSeverity, mText.size(), composed);
        composed += mText;
        mComposed = std::move(composed);
    }
    catch (const std::bad_alloc&)
    {
        return mText;
    }
    return *mComposed;
}

U_UTF16String ComposedText::Take()
{
    const U_UTF16String& text = Get();
    if (mComposed)
        return std::move(*mComposed);
    return text;
}

void CopyReportText(const U_UTF16String& text, char* out)
{
    // ASCII is the same in all code pages. The units are combined first, which a compiler can do
    // for several at once.
    U_u16 all = 0;
    if (text.size() < U_ReportTextSize)
        all = std::accumulate(text.begin(), text.end(), all, [](U_u16 bits, U_u16 unit) {
            return static_cast<U_u16>(bits | unit);
        });
    if (text.size() >= U_ReportTextSize || all > 0x7F)
    {
        U_CopyString(U_UTF16ToMBString(text, false).c_str(), U_ReportTextSize, out);
        return;
    }
    char* const end = std::transform(text.begin(), text.end(), out,
                                     [](U_u16 unit) { return static_cast<char>(unit); });
    *end = 0;
}

LocationText::LocationText(U_u32 location)
{
    *mText = 0;
    if (!location)
        return;
    const U_u32 values[] = {location >> 16, location & 0xFFFF};
    if (!Fill(Up_FormatOf(kTextLocation), values, mText))
        Up_FormatString(kTextLocation, mText, sizeof(mText), values[0], values[1]);
}
