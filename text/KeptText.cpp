#include "text/KeptText.h"

#include <algorithm>
#include <list>
#include <new>

#include <platform/base/per_thread.h>
#include <platform/base/quiet_new.h>

#include "text/Resolve.h"
#include "text/ZLocale.h"

namespace
{
struct Kept
{
    const char* mZString;
    U_UTF16String mText;
};

struct KeptTexts
{
    U_u32 mGeneration;      // of the locale that all of them come from
    std::list<Kept> mTexts; // they stay where they are, whatever a new handler of the host's does
};

const Kept* Find(const std::list<Kept>& texts, const char* zstring)
{
    const auto found = std::find_if(texts.begin(), texts.end(), [zstring](const Kept& kept) {
        return kept.mZString == zstring;
    });
    return found == texts.end() ? nullptr : &*found;
}
} // namespace

U_UTF16String KeptText(const char* zstring)
{
    const platform::ScQuietNew quiet; // who asks may be on its way into a report
    KeptTexts* const kept = platform::PerThread<KeptTexts>::Make();
    if (!kept)
        return ResolveZString(zstring, false);
    const U_u32 generation = ZLocaleGeneration();
    if (kept->mGeneration != generation)
    {
        kept->mTexts.clear();
        kept->mGeneration = generation;
    }
    if (const Kept* known = Find(kept->mTexts, zstring))
        return known->mText;
    U_UTF16String text = ResolveZString(zstring, false);
    try
    {
        std::list<Kept> fresh = {{zstring, text}};
        kept->mTexts.splice(kept->mTexts.begin(), fresh);
    }
    catch (const std::bad_alloc&)
    {
        // The next look-up tries again.
    }
    return text;
}
