#include "text/Resolve.h"

#include <algorithm>

#include <platform/base/quiet_new.h>

#include "U_Encoding.h"
#include "text/Markers.h"
#include "text/ZLocale.h"

namespace
{
const U_u16 kIncrement = 0x2206;
const U_u16 kCapitalDelta = 0x0394;

U_UTF16String LookUp(const hollin::Dictionary& dictionary, const char* zstring)
{
    // A text that is there is copied once, straight from the store.
    const std::uint16_t* units = nullptr;
    std::uint32_t length = 0;
    if (dictionary.GetRawString(zstring, &units, &length))
        return U_UTF16String(units, length);
    const hollin::ZString text = dictionary.GetString(zstring, &hollin::kEncodingUTF8);
    // The empty text has no units to point at.
    return text.Length() ? U_UTF16String(text.Data(), text.Length()) : U_UTF16String();
}

U_UTF16String ResolveWith(const hollin::Dictionary& dictionary, const char* zstring)
{
    U_UTF16String text = LookUp(dictionary, zstring);
    ApplyMarkers(text);
    if (U_DoubleByteSafeMode())
        std::replace(text.begin(), text.end(), kIncrement, kCapitalDelta);
    return text;
}
} // namespace

U_UTF16String ResolveZString(const char* zstring, bool forceEnglish)
{
    if (!zstring || !*zstring)
        return U_UTF16String();
    U_ZLocale* const locale = ZLocale();
    if (!locale)
        return ResolveWith(hollin::Dictionary(), zstring);
    const bool english = forceEnglish || (locale->mAlive && locale->mEnglishMode);
    const platform::ScQuietLock<boost::recursive_mutex> lock(locale->mLock);
    return ResolveWith(english ? locale->mEnglish : locale->mCurrent, zstring);
}
