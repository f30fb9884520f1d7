// The locale object: its life, and the choice of a language.

#include <atomic>
#include <limits>

#include <platform/base/quiet_new.h>
#include <tolv/text.h>

#include "U_Encoding.h"
#include "U_ZString.h"
#include "indep/frame/Guard.h"
#include "text/ZString.h"

namespace
{
const short kScriptIsDoubleByte = 36;

// Written by birth and death only, while no other thread uses the library.
U_ZLocale* sZLocale = nullptr;

// The answer of U_DoubleByteSafeMode. One word, so that a thread never reads the state "known"
// with an old answer. All threads that compute the answer at once store the same one.
enum class DoubleByteSafe
{
    unknown,
    no,
    yes
};
std::atomic<DoubleByteSafe> sDoubleByteSafe(DoubleByteSafe::unknown);

std::atomic<U_u32> sGeneration(0);

// The last step of each change of the locale. Invalidates all that is derived from the locale.
void InvalidateDerived()
{
    sDoubleByteSafe.store(DoubleByteSafe::unknown, std::memory_order_relaxed);
    sGeneration.fetch_add(1, std::memory_order_release);
}

// Invalidates at the end of the scope: a load that throws may have changed texts too.
class ScInvalidation
{
public:
    ScInvalidation() = default;
    ~ScInvalidation() { InvalidateDerived(); }
    ScInvalidation(const ScInvalidation&) = delete;
    ScInvalidation& operator=(const ScInvalidation&) = delete;
};

bool IsDoubleByteSafe()
{
    // A translation uses only characters that its readers have.
    if (sZLocale && sZLocale->mAlive && !sZLocale->mEnglishMode)
        return false;
    return GetScriptManagerVariable(kScriptIsDoubleByte) != 0;
}

// Returns 0 for an image that is larger than a dictionary can be: an image of size 0 counts as
// damaged.
std::int32_t ImageSize(std::size_t size)
{
    const std::size_t kMost = std::numeric_limits<std::int32_t>::max();
    return size <= kMost ? static_cast<std::int32_t>(size) : 0;
}
} // namespace

U_ZLocale* ZLocale()
{
    return sZLocale;
}

U_u32 ZLocaleGeneration()
{
    return sGeneration.load(std::memory_order_acquire);
}

U_Status U_ZLocaleBirth()
{
    if (sZLocale)
        return 0;
    sZLocale = new U_ZLocale;
    InvalidateDerived();
    return 0;
}

U_Status U_ZLocaleDeath()
{
    delete sZLocale;
    sZLocale = nullptr;
    InvalidateDerived();
    return 0;
}

bool U_ZLocaleAlive()
{
    return sZLocale && sZLocale->mAlive;
}

U_Status U_ZStringSetCurrentDictionary(U_u16* data, size_t size)
{
    if (!sZLocale)
        return 0;
    const ScInvalidation invalidation;
    return Guarded([&] {
        const platform::ScQuietNew quiet; // a handler of an alert could choose a language
        sZLocale->mCurrent.LoadFromMemory(reinterpret_cast<const unsigned char*>(data),
                                          ImageSize(size), false);
        sZLocale->mAlive = true;
    });
}

U_Status U_ZStringSetCurrentDictionaryCompressed(void*, size_t)
{
    return 1;
}

U_Status U_ZStringSetEnglish()
{
    if (!sZLocale)
        return 0;
    sZLocale->mAlive = true;
    sZLocale->mEnglishMode = true;
    InvalidateDerived();
    return 0;
}

bool U_DoubleByteSafeMode()
{
    DoubleByteSafe answer = sDoubleByteSafe.load(std::memory_order_relaxed);
    if (answer == DoubleByteSafe::unknown)
    {
        answer = IsDoubleByteSafe() ? DoubleByteSafe::yes : DoubleByteSafe::no;
        sDoubleByteSafe.store(answer, std::memory_order_relaxed);
    }
    return answer == DoubleByteSafe::yes;
}
