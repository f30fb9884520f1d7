// Resolution of ZStrings: look-up, markers and the cache of each thread.

#include "text/ZString.h"

#include <algorithm>
#include <list>
#include <new>
#include <string_view>

#include <platform/base/per_thread.h>
#include <platform/base/quiet_new.h>
#include <wril/wril.h>

#include "U_Encoding.h"
#include "U_String.h"
#include "U_ZString.h"
#include "hollin/Markers.h"
#include "indep/frame/Guard.h"

namespace
{
const std::string_view kBuildYear = U_BUILD_YEAR; // four digits, from the build

const U_u16 kIncrement = 0x2206;
const U_u16 kCapitalDelta = 0x0394;

U_UTF16String LookUp(const hollin::Dictionary& dictionary, const char* zstring)
{
    // GetRawString copies the text once, directly from its storage. GetString would also change a
    // reference count that is not atomic, while other threads look up the same text.
    const std::uint16_t* units = nullptr;
    std::uint32_t length = 0;
    if (dictionary.GetRawString(zstring, &units, &length))
        return U_UTF16String(units, length);
    const hollin::ZString text = dictionary.GetString(zstring, &hollin::kEncodingUTF8);
    // The data of an empty text may be null.
    return text.Length() ? U_UTF16String(text.Data(), text.Length()) : U_UTF16String();
}

U_UTF16String ResolveWith(const hollin::Dictionary& dictionary, const char* zstring)
{
    U_UTF16String text = LookUp(dictionary, zstring);
    hollin::ApplyMarkers(text, kBuildYear);
    if (U_DoubleByteSafeMode())
        std::replace(text.begin(), text.end(), kIncrement, kCapitalDelta);
    return text;
}

struct CacheEntry
{
    const char* mZString;
    U_UTF16String mText;
};

struct TextCache
{
    U_u32 mGeneration; // of the locale: all entries were resolved in it

    // A list, whose entries keep their addresses: a new handler of the host may resolve texts,
    // and so add entries, while an entry is copied.
    std::list<CacheEntry> mEntries;
};

const CacheEntry* FindEntry(const std::list<CacheEntry>& entries, const char* zstring)
{
    const auto found = std::find_if(entries.begin(), entries.end(), [zstring](const CacheEntry& e) {
        return e.mZString == zstring;
    });
    return found == entries.end() ? nullptr : &*found;
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
    const platform::ScQuietNew quiet; // the caller may be composing a report
    return ResolveWith(english ? locale->mEnglish : locale->mCurrent, zstring);
}

U_UTF16String CachedText(const char* zstring)
{
    const platform::ScQuietNew quiet; // the caller may be composing a report
    TextCache* const cache = platform::PerThread<TextCache>::Make();
    if (!cache)
        return ResolveZString(zstring, false);
    const U_u32 generation = ZLocaleGeneration();
    if (cache->mGeneration != generation)
    {
        cache->mEntries.clear();
        cache->mGeneration = generation;
    }
    if (const CacheEntry* entry = FindEntry(cache->mEntries, zstring))
        return entry->mText;
    U_UTF16String text = ResolveZString(zstring, false);
    try
    {
        std::list<CacheEntry> fresh = {{zstring, text}};
        cache->mEntries.splice(cache->mEntries.begin(), fresh);
    }
    catch (const std::bad_alloc&)
    {
        // The next call tries again.
    }
    return text;
}

U_UTF16String U_ZStringToUTF16String(const char* zstring)
{
    return ResolveZString(zstring, false);
}

U_UTF16String U_ZStringToEnglishUTF16String(const char* zstring)
{
    return ResolveZString(zstring, true);
}

std::string U_ZStringToMBString(const char* zstring)
{
    return U_UTF16ToMBString(U_ZStringToUTF16String(zstring), false);
}

std::string U_ZStringToEnglishMBString(const char* zstring)
{
    return U_UTF16ToMBString(U_ZStringToEnglishUTF16String(zstring), false);
}

void U_ZStringToCStr(const char* zstring, unsigned int size, char* out)
{
    U_CopyString(U_ZStringToMBString(zstring).c_str(), size, out);
}

U_Status U_ZStringToMBRaw(const char* zstring, unsigned int size, char* out)
{
    return Guarded([&] { U_ZStringToCStr(zstring, size, out); });
}

bool U_IsZstr(const std::string& text)
{
    return text.compare(0, 3, "$$$") == 0;
}

std::string Up_HDT_ConvertToMB(const U_UTF16String& text)
{
    return U_UTF16ToMBString(text, false);
}

bool Up_IsValidZString(const char* zstring)
{
    if (!zstring)
        return false;
    if (*zstring == '$')
        return true;
    LogSafely([=] { WRIL_Log(0, "U", "Invalid ZString", zstring); });
    return false;
}
