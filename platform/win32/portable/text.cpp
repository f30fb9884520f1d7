#include <win32/text.h>

#include <atomic>
#include <climits>

#include "../private/switches.h"
#include "code_page.h"

namespace win32
{
namespace
{
const unsigned int kDefaultCodePage = 1252;

std::atomic<unsigned int> sActiveCodePage(kDefaultCodePage);

unsigned int Resolve(unsigned int codePage)
{
    return codePage == kCodePageActive ? GetACP() : codePage;
}

bool IsKnown(unsigned int codePage)
{
    return codePage == kCodePageUTF8 || IsKnownCodePage(codePage);
}

// The character for units without an equivalent.
struct DefaultCharacter
{
    Unit mBytes;       // above 0xFF a lead byte and its second byte
    bool mForBestFits; // also in place of best fits
    bool mUsed;        // set by ToPage
};

struct PageDecoder
{
    Cursor<Byte, Unit> Run(Cursor<Byte, Unit> at, const Byte* stop, const Byte* end) const
    {
        const CodePage& page = mPage;
        return PutText(at, stop, [&page, end](Cursor<Byte, Unit> next) {
            const Byte byte = *next.mNext++;
            if (!page.mIsLead[byte])
                next.mOutput.Put(page.mSingles[byte]);
            else if (next.mNext == end || !*next.mNext)
                next.mOutput.Put(page.mDefaultUnit); // no pair includes a terminator
            else
                next.mOutput.Put(page.mPairs[byte - 0x80][*next.mNext++]);
            return next;
        });
    }

    const CodePage& mPage;
};

template <bool kForBestFits> struct PageEncoder
{
    Cursor<Unit, Byte> Run(Cursor<Unit, Byte> at, const Unit* stop, const Unit*) const
    {
        const CodePage& page = mPage;
        return PutText(at, stop, [this, &page](Cursor<Unit, Byte> next) {
            const Unit unit = *next.mNext++;
            Unit bytes = page.mBytes[unit];
            if (!bytes || (kForBestFits && page.HasOnlyBestFit(unit)))
                bytes = Default();
            if (bytes > 0xFF)
                next.mOutput.Put(static_cast<Byte>(bytes >> 8));
            next.mOutput.Put(static_cast<Byte>(bytes));
            return next;
        });
    }

    Unit Default() const
    {
        mFallback.mUsed = true;
        return mFallback.mBytes;
    }

    const CodePage& mPage;
    DefaultCharacter& mFallback;
};

// Convert text through the tables of a code page. A capacity of 0 asks for the count alone.
//
// Returns: the count of characters written or needed, or kTooSmall with the characters that
// fit written.
std::size_t FromPage(const CodePage& page, const Byte* bytes, std::size_t length, Unit* units,
                     std::size_t capacity)
{
    if (!capacity && !page.mPairs)
        return length;
    return Convert<1>(PageDecoder{page}, bytes, length, units, capacity);
}

std::size_t ToPage(const CodePage& page, const Unit* units, std::size_t length, Byte* bytes,
                   std::size_t capacity, DefaultCharacter& fallback)
{
    if (fallback.mForBestFits)
        return Convert<2>(PageEncoder<true>{page, fallback}, units, length, bytes, capacity);
    return Convert<2>(PageEncoder<false>{page, fallback}, units, length, bytes, capacity);
}

// Returns the count of characters including the terminator.
template <class Character> std::size_t LengthWithTerminator(const Character* text)
{
    std::size_t length = 0;
    while (text[length++])
    {
    }
    return length;
}

template <class Source, class Target>
bool Overlap(const Source* source, std::size_t length, const Target* target, std::size_t capacity)
{
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(source);
    const std::uintptr_t second = reinterpret_cast<std::uintptr_t>(target);
    return first < second + capacity * sizeof(Target) && second < first + length * sizeof(Source);
}

// The arguments of both directions. `mFlagsAreKnown` is the check of the direction's flags.
template <class Source, class Target> struct Arguments
{
    unsigned int mCodePage;
    const Source* mSource;
    int mCount;
    const Target* mTarget;
    int mCapacity;
    bool mFlagsAreKnown;
};

// Stores the length of the source. Returns 0 or an error code.
template <class Source, class Target>
unsigned int Check(const Arguments<Source, Target>& arguments, std::size_t* length)
{
    const auto& [codePage, source, count, target, capacity, flagsAreKnown] = arguments;
    if (!IsKnown(codePage) || !source || !count || count < -1 || capacity < 0 ||
        (capacity && !target))
        return kErrorInvalidParameter;
    if (!flagsAreKnown)
        return kErrorInvalidFlags;
    *length = count < 0 ? LengthWithTerminator(source) : static_cast<std::size_t>(count);
    const bool overlap =
        capacity && Overlap(source, *length, target, static_cast<std::size_t>(capacity));
    return *length > INT_MAX || overlap ? kErrorInvalidParameter : 0;
}

// Returns the result of a conversion that has this count.
int ResultOf(std::size_t count)
{
    if (count == kTooSmall)
        return Fail(kErrorInsufficientBuffer);
    return count <= INT_MAX ? static_cast<int>(count) : Fail(kErrorInvalidParameter);
}

// Returns the bytes of the default character.
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
    std::size_t length = 0;
    const Arguments<char, Unit> arguments = {codePage, bytes, byteCount, units, capacity, !flags};
    if (const unsigned int error = Check(arguments, &length))
        return Fail(error);

    const Byte* const source = reinterpret_cast<const Byte*>(bytes);
    const std::size_t room = static_cast<std::size_t>(capacity);
    if (codePage == kCodePageUTF8)
        return ResultOf(FromUTF8(source, length, units, room));
    const CodePage* const page = FindCodePage(codePage);
    return page ? ResultOf(FromPage(*page, source, length, units, room))
                : Fail(kErrorNotEnoughMemory);
}

int WideCharToMultiByte(unsigned int codePage, unsigned int flags, const unsigned short* units,
                        int unitCount, char* bytes, int capacity, const char* defaultCharacter,
                        int* usedDefault)
{
    codePage = Resolve(codePage);
    const bool isUTF8 = codePage == kCodePageUTF8;
    if (isUTF8 && (defaultCharacter || usedDefault))
        return Fail(kErrorInvalidParameter);
    std::size_t length = 0;
    const bool flagsAreKnown = !flags || (flags == kNoBestFitChars && !isUTF8);
    const Arguments<Unit, char> arguments = {codePage, units,    unitCount,
                                             bytes,    capacity, flagsAreKnown};
    if (const unsigned int error = Check(arguments, &length))
        return Fail(error);

    Byte* const target = reinterpret_cast<Byte*>(bytes);
    const std::size_t room = static_cast<std::size_t>(capacity);
    if (isUTF8)
        return ResultOf(ToUTF8(units, length, target, room));
    const CodePage* const page = FindCodePage(codePage);
    if (!page)
        return Fail(kErrorNotEnoughMemory);
    DefaultCharacter fallback = {DefaultOf(*page, defaultCharacter), flags != 0, false};
    const std::size_t count = ToPage(*page, units, length, target, room, fallback);
    if (usedDefault)
        *usedDefault = fallback.mUsed;
    return ResultOf(count);
}
} // namespace win32
