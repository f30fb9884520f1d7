#include <win32/text.h>

#include <atomic>
#include <climits>

#include <platform/base/thread_local.h>

#include "../private/failure.h"
#include "../private/switches.h"
#include "code_page_text.h"
#include "utf8.h"

namespace win32
{
namespace
{
const unsigned int kDefaultCodePage = 1252;

std::atomic<unsigned int> sActiveCodePage(kDefaultCodePage);
PLATFORM_THREAD_LOCAL unsigned int tLastError = 0;

unsigned int Resolve(unsigned int codePage)
{
    return codePage == kCodePageActive ? GetACP() : codePage;
}

bool IsKnown(unsigned int codePage)
{
    return codePage == kCodePageUTF8 || IsKnownCodePage(codePage);
}

// Characters up to and with the terminator.
template <class Character> std::size_t LengthWithTerminator(const Character* text)
{
    std::size_t length = 0;
    while (text[length++])
    {
    }
    return length;
}

// The characters that a caller's count means.
template <class Character> std::size_t SourceLength(const Character* text, int count)
{
    return count < 0 ? LengthWithTerminator(text) : static_cast<std::size_t>(count);
}

// Whether a source and its count, and a destination and its capacity, can be
// meant.
bool AreArguments(const void* source, int count, const void* destination, int capacity)
{
    return source && count && count >= -1 && capacity >= 0 && (destination || !capacity);
}

template <class Source, class Target>
bool Overlap(const Source* source, std::size_t length, const Target* target, int capacity)
{
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(source);
    const std::uintptr_t second = reinterpret_cast<std::uintptr_t>(target);
    return first < second + static_cast<std::size_t>(capacity) * sizeof(Target) &&
           second < first + length * sizeof(Source);
}

// The result of a conversion out of its count.
int Answer(std::size_t count)
{
    if (count == kTooSmall)
        return Fail(kErrorInsufficientBuffer);
    return count <= INT_MAX ? static_cast<int>(count) : Fail(kErrorInvalidParameter);
}

// The bytes of the default character.
Unit DefaultOf(const CodePage& page, const char* wanted)
{
    if (!wanted)
        return page.mDefaultByte;
    const Byte lead = static_cast<Byte>(wanted[0]);
    if (!page.mIsLead[lead] || !wanted[1])
        return lead;
    return static_cast<Unit>(lead << 8 | static_cast<Byte>(wanted[1]));
}
} // namespace

unsigned int GetLastError()
{
    return tLastError;
}

void SetLastError(unsigned int error)
{
    tLastError = error;
}

unsigned int GetACP()
{
    return sActiveCodePage.load(std::memory_order_relaxed);
}

void SetActiveCodePage(unsigned int codePage)
{
    sActiveCodePage.store(IsKnown(codePage) ? codePage : kDefaultCodePage,
                          std::memory_order_relaxed);
}

int IsDBCSLeadByteEx(unsigned int codePage, unsigned char byte)
{
    return IsLeadByte(Resolve(codePage), byte);
}

int MultiByteToWideChar(unsigned int codePage, unsigned int flags, const char* bytes, int byteCount,
                        unsigned short* units, int capacity)
{
    codePage = Resolve(codePage);
    if (!IsKnown(codePage) || !AreArguments(bytes, byteCount, units, capacity))
        return Fail(kErrorInvalidParameter);
    if (flags)
        return Fail(kErrorInvalidFlags);
    const std::size_t length = SourceLength(bytes, byteCount);
    if (length > INT_MAX || (capacity && Overlap(bytes, length, units, capacity)))
        return Fail(kErrorInvalidParameter);

    const Byte* source = reinterpret_cast<const Byte*>(bytes);
    const std::size_t room = static_cast<std::size_t>(capacity);
    if (codePage == kCodePageUTF8)
        return Answer(room ? FromUTF8(source, length, units, room) : CountFromUTF8(source, length));
    const CodePage* page = FindCodePage(codePage);
    if (!page)
        return Fail(kErrorNotEnoughMemory);
    return Answer(room ? FromPage(*page, source, length, units, room)
                       : CountFromPage(*page, source, length));
}

int WideCharToMultiByte(unsigned int codePage, unsigned int flags, const unsigned short* units,
                        int unitCount, char* bytes, int capacity, const char* defaultCharacter,
                        int* usedDefault)
{
    codePage = Resolve(codePage);
    if (!IsKnown(codePage) || !AreArguments(units, unitCount, bytes, capacity) ||
        (codePage == kCodePageUTF8 && (defaultCharacter || usedDefault)))
        return Fail(kErrorInvalidParameter);
    if (flags && (flags != kNoBestFitChars || codePage == kCodePageUTF8))
        return Fail(kErrorInvalidFlags);
    const std::size_t length = SourceLength(units, unitCount);
    if (length > INT_MAX || (capacity && Overlap(units, length, bytes, capacity)))
        return Fail(kErrorInvalidParameter);

    Byte* target = reinterpret_cast<Byte*>(bytes);
    const std::size_t room = static_cast<std::size_t>(capacity);
    if (codePage == kCodePageUTF8)
        return Answer(room ? ToUTF8(units, length, target, room) : CountToUTF8(units, length));
    const CodePage* page = FindCodePage(codePage);
    if (!page)
        return Fail(kErrorNotEnoughMemory);
    DefaultCharacter fallback = {DefaultOf(*page, defaultCharacter), flags != 0, false};
    const std::size_t count = room ? ToPage(*page, units, length, target, room, fallback)
                                   : CountToPage(*page, units, length, fallback);
    if (usedDefault)
        *usedDefault = fallback.mUsed;
    return Answer(count);
}
} // namespace win32
