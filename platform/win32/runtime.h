// The C runtime, under its own names.

#ifndef WIN32_RUNTIME_H
#define WIN32_RUNTIME_H

#include <cstddef>
#include <cstdint>

#include "../export.h"

namespace win32
{
// Floating-point control words: fields and their values.
const unsigned int kMcwDN = 0x03000000; // denormal numbers
const unsigned int kDNSave = 0;
const unsigned int kDNFlush = 0x01000000; // operands and results
const unsigned int kDNFlushOperands = 0x02000000;
const unsigned int kDNFlushResults = 0x03000000;
const unsigned int kMcwRC = 0x300; // rounding
const unsigned int kRCDown = 0x100;
const unsigned int kRCUp = 0x200;
const unsigned int kRCChop = 0x300;
const unsigned int kMcwEM = 0x8001F; // exceptions that are masked
const unsigned int kEMInexact = 0x1;
const unsigned int kEMUnderflow = 0x2;
const unsigned int kEMOverflow = 0x4;
const unsigned int kEMZeroDivide = 0x8;
const unsigned int kEMInvalid = 0x10;
const unsigned int kEMDenormal = 0x80000;

// Sets the fields in mask of the calling thread's control word and returns the
// word. Other bits of both are ignored. Where the processor can't tell operands from
// results, both are flushed if either is to be; where it has no denormal exception,
// that is always masked. An exception that isn't masked is a hardware exception.
PLATFORM_EXPORT unsigned int _controlfp(unsigned int values, unsigned int mask);
} // namespace win32

#endif
