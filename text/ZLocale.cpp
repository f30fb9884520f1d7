#include "text/ZLocale.h"

#include <atomic>
#include <limits>

#include <platform/base/quiet_new.h>
#include <tolv/text.h>

#include "U_Encoding.h"
#include "U_ZString.h"
#include "indep/frame/Guard.h"

namespace
{
const short kScriptIsDoubleByte = 36;

// Written by birth and death only, with no other thread in the library.
U_ZLocale* sZLocale = nullptr;

// The answer of U_DoubleByteSafeMode, in one word so that knowing it and the
// answer itself never part. All threads that find it unknown store the same.
enum class DoubleByteSafe
{
    unknown,
    no,
    yes
};
std::atomic<DoubleByteSafe> sDoubleByteSafe(DoubleByteSafe::unknown);

std::atomic<U_u32> sGeneration(0);

// The last step of each change, for what has been derived from the locale before.
void NoteChange()
{
    sDoubleByteSafe.store(DoubleByteSafe::unknown, std::memory_order_relaxed);
    sGeneration.fetch_add(1, std::memory_order_release);
}

// A load that fails, by whatever exception, may have changed texts, too.
class ScChange
{
public:
    ScChange() = default;
    ~ScChange() { NoteChange(); }
    ScChange(const ScChange&) = delete;
    ScChange& operator=(const ScChange&) = delete;
};

bool IsDoubleByteSafe()
{
    // A translation knows its own characters.
    if (sZLocale && sZLocale->mAlive && !sZLocale->mEnglishMode)
        return false;
    return GetScriptManagerVariable(kScriptIsDoubleByte) != 0;
}

// 0 for an image that is larger than a dictionary can be; loading none marks
// the dictionary as damaged.
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
    NoteChange();
    return 0;
}

U_Status U_ZLocaleDeath()
{
    delete sZLocale;
    sZLocale = nullptr;
    NoteChange();
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
    const ScChange change;
    return Guarded([&] {
        const platform::ScQuietNew quiet; // an alert could choose a language in the middle
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
    NoteChange();
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
