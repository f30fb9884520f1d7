// The control word of floating-point arithmetic, in the registers of the processor or through
// the C library. The same source serves each operating system.

#include <win32/runtime.h>

#include <iterator>

#if defined(__x86_64__)
#include <xmmintrin.h>
#else
#include <cfenv>
#endif

namespace win32
{
namespace
{
// A bit of the control word and the machine's bit of the same meaning.
struct Bit
{
    unsigned int mWord;
    unsigned int mMachine;
};

unsigned int ToMachine(unsigned int word, const Bit* bits, std::size_t count)
{
    unsigned int machine = 0;
    for (std::size_t i = 0; i < count; ++i)
        machine |= word & bits[i].mWord ? bits[i].mMachine : 0;
    return machine;
}

unsigned int FromMachine(unsigned int machine, const Bit* bits, std::size_t count)
{
    unsigned int word = 0;
    for (std::size_t i = 0; i < count; ++i)
        word |= machine & bits[i].mMachine ? bits[i].mWord : 0;
    return word;
}

#if defined(__x86_64__)
// Bits of the vector unit, which does all arithmetic except that of long double.
const Bit kExceptions[] = {{kEMInvalid, 0x80},   {kEMDenormal, 0x100},  {kEMZeroDivide, 0x200},
                           {kEMOverflow, 0x400}, {kEMUnderflow, 0x800}, {kEMInexact, 0x1000}};
const unsigned int kExceptionBits = 0x1F80;
const unsigned int kFlags = 0x3F; // exceptions that have occurred
const unsigned int kZeroOperands = 0x40;
const unsigned int kZeroResults = 0x8000;
const unsigned int kRoundingShift = 13 - 8;

// The x87 unit serves long double and the C library's rounding functions. Its control word has
// the exceptions seven bits lower and the rounding three bits lower.
void SetX87Unit(unsigned int machine)
{
    unsigned short word;
    asm volatile("fnstcw %0" : "=m"(word));
    word = static_cast<unsigned short>((word & ~0xC3Fu) | (machine & kExceptionBits) >> 7 |
                                       (machine & 0x6000) >> 3);
    // Clears the exceptions that occurred while they were masked: they must not be raised now.
    asm volatile("fnclex\n\tfldcw %0" : : "m"(word));
}

unsigned int DenormalField(unsigned int machine)
{
    if (machine & kZeroOperands)
        return machine & kZeroResults ? kDNFlush : kDNFlushOperands;
    return machine & kZeroResults ? kDNFlushResults : kDNSave;
}

unsigned int DenormalBits(unsigned int word)
{
    switch (word & kMcwDN)
    {
    case kDNFlush:
        return kZeroOperands | kZeroResults;
    case kDNFlushOperands:
        return kZeroOperands;
    case kDNFlushResults:
        return kZeroResults;
    }
    return 0;
}

unsigned int Read()
{
    const unsigned int machine = _mm_getcsr();
    return DenormalField(machine) | (machine >> kRoundingShift & kMcwRC) |
           FromMachine(machine, kExceptions, std::size(kExceptions));
}

void Write(unsigned int word)
{
    const unsigned int machine = DenormalBits(word) | (word & kMcwRC) << kRoundingShift |
                                 ToMachine(word, kExceptions, std::size(kExceptions));
    _mm_setcsr(machine | (_mm_getcsr() & kFlags));
    SetX87Unit(machine);
}
#else
const Bit kExceptions[] = {{kEMInvalid, FE_INVALID},
                           {kEMZeroDivide, FE_DIVBYZERO},
                           {kEMOverflow, FE_OVERFLOW},
                           {kEMUnderflow, FE_UNDERFLOW},
                           {kEMInexact, FE_INEXACT}};

struct Rounding
{
    unsigned int mField;
    int mMode;
};

const Rounding kRoundings[] = {
    {0, FE_TONEAREST}, {kRCDown, FE_DOWNWARD}, {kRCUp, FE_UPWARD}, {kRCChop, FE_TOWARDZERO}};

#if defined(__aarch64__)
const unsigned long long kFlushBit = 1ull << 24;

unsigned long long ControlRegister()
{
    unsigned long long value = 0;
    asm volatile("mrs %0, fpcr" : "=r"(value));
    return value;
}

unsigned int DenormalField()
{
    return ControlRegister() & kFlushBit ? kDNFlush : kDNSave;
}

void SetDenormals(unsigned int word)
{
    const unsigned long long others = ControlRegister() & ~kFlushBit;
    asm volatile("msr fpcr, %0" : : "r"(others | (word & kMcwDN ? kFlushBit : 0)));
}
#else
unsigned int DenormalField()
{
    return kDNSave;
}

void SetDenormals(unsigned int) {}
#endif

unsigned int Read()
{
    const unsigned int unmasked =
        FromMachine(static_cast<unsigned int>(fegetexcept()), kExceptions, std::size(kExceptions));
    unsigned int word = DenormalField() | (kMcwEM & ~unmasked);
    for (const Rounding& rounding : kRoundings)
        word |= rounding.mMode == fegetround() ? rounding.mField : 0;
    return word;
}

void Write(unsigned int word)
{
    SetDenormals(word);
    for (const Rounding& rounding : kRoundings)
    {
        if (rounding.mField == (word & kMcwRC))
            fesetround(rounding.mMode);
    }
    const int unmasked = static_cast<int>(ToMachine(~word, kExceptions, std::size(kExceptions)));
    fedisableexcept(FE_ALL_EXCEPT & ~unmasked);
    feenableexcept(unmasked);
}
#endif
} // namespace

unsigned int _controlfp(unsigned int values, unsigned int mask)
{
    const unsigned int fields = mask & (kMcwDN | kMcwRC | (kMcwEM & ~kEMDenormal));
    const unsigned int word = Read();
    if (fields)
        Write((word & ~fields) | (values & fields));
    return fields ? Read() : word;
}
} // namespace win32
