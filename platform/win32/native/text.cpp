#include <win32/text.h>

#include <algorithm>
#include <atomic>
#include <iterator>

#include "../private/switches.h"
#include "windows_api.h"

namespace win32
{
namespace
{
// The code pages that a host may set.
const unsigned int kSettable[] = {932,  936,  949,  950,  1250,  1251,  1252,  1253,   1254,
                                  1255, 1256, 1257, 1258, 10000, 10001, 10007, CP_UTF8};

static_assert(kCodePageActive == CP_ACP && kCodePageUTF8 == CP_UTF8);
static_assert(kNoBestFitChars == WC_NO_BEST_FIT_CHARS);

const unsigned int kCodePageOfSystem = 0;

std::atomic<unsigned int> sActiveCodePage(kCodePageOfSystem);

unsigned int Resolve(unsigned int codePage)
{
    return codePage == kCodePageActive ? GetACP() : codePage;
}

// Returns 0, or the error of arguments that the conversions refuse. The system itself takes each
// negative count as -1, and not every version of the system refuses the rest.
unsigned int Refuse(const void* source, int count, const void* target, bool flagsAreKnown)
{
    if (count < -1 || (target && target == source))
        return kErrorInvalidParameter;
    return flagsAreKnown ? 0 : kErrorInvalidFlags;
}
} // namespace

unsigned int GetACP()
{
    const unsigned int codePage = sActiveCodePage.load(std::memory_order_relaxed);
    return codePage == kCodePageOfSystem ? ::GetACP() : codePage;
}

void SetActiveCodePage(unsigned int codePage)
{
    const bool isSettable =
        std::find(std::begin(kSettable), std::end(kSettable), codePage) != std::end(kSettable);
    // An installation of the system may lack a code page.
    sActiveCodePage.store(isSettable && ::IsValidCodePage(codePage) ? codePage : kCodePageOfSystem,
                          std::memory_order_relaxed);
}

int IsDBCSLeadByteEx(unsigned int codePage, unsigned char byte)
{
    return ::IsDBCSLeadByteEx(Resolve(codePage), byte);
}

int MultiByteToWideChar(unsigned int codePage, unsigned int flags, const char* bytes, int byteCount,
                        unsigned short* units, int capacity)
{
    if (const unsigned int error = Refuse(bytes, byteCount, units, flags == 0))
        return Fail(error);
    return ::MultiByteToWideChar(Resolve(codePage), flags, bytes, byteCount, Wide(units), capacity);
}

int WideCharToMultiByte(unsigned int codePage, unsigned int flags, const unsigned short* units,
                        int unitCount, char* bytes, int capacity, const char* defaultCharacter,
                        int* usedDefault)
{
    codePage = Resolve(codePage);
    const bool flagsAreKnown = !flags || (flags == kNoBestFitChars && codePage != kCodePageUTF8);
    if (const unsigned int error = Refuse(units, unitCount, bytes, flagsAreKnown))
        return Fail(error);
    return ::WideCharToMultiByte(codePage, flags, Wide(units), unitCount, bytes, capacity,
                                 defaultCharacter, usedDefault);
}
} // namespace win32
