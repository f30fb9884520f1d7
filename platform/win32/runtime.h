// The C runtime, under its own names. Any thread.

#ifndef WIN32_RUNTIME_H
#define WIN32_RUNTIME_H

#include <cstddef>
#include <cstdint>

#include <platform/base/export.h>

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

// Called when operator new finds no memory, with the bytes asked for; 0 if the program
// has an operator new of its own, which doesn't tell. Non-zero to try again, up to 10000
// times for one block; 0 to have std::bad_alloc thrown, which stands for whatever the
// handler throws, too. Any thread, but none that holds a lock of this library or of U.
typedef int (*NewHandler)(std::size_t size);

// Replaces the handler and returns the one before; null for none. Meanwhile it stands
// in the place of the standard library's new handler, which null brings back. Whoever has
// come in that place since stays, and what it calls of this goes on to the one before.
PLATFORM_EXPORT NewHandler _set_new_handler(NewHandler handler);

// Called when the runtime is given an argument that it can't serve. Texts may be null.
typedef void (*InvalidParameterHandler)(const unsigned short* expression,
                                        const unsigned short* function, const unsigned short* file,
                                        unsigned int line, std::uintptr_t reserved);

// Replaces the handler and returns the one before; null for none.
PLATFORM_EXPORT InvalidParameterHandler
_set_invalid_parameter_handler(InvalidParameterHandler handler);
PLATFORM_EXPORT InvalidParameterHandler _get_invalid_parameter_handler();

// Tells of such an argument: calls the handler, and returns if that does. Without a
// handler the process ends, in a way that the system writes a crash log of.
PLATFORM_EXPORT void _invalid_parameter(const unsigned short* expression,
                                        const unsigned short* function, const unsigned short* file,
                                        unsigned int line, std::uintptr_t reserved);

// Sets the fields in mask of the calling thread's control word and returns the
// word. Other bits of both are ignored, and so is kEMDenormal, which stays as it is.
// Where the processor can't tell operands from results, both are flushed if either is to
// be; where it has no denormal exception, that is always masked. An exception that isn't
// masked is a hardware exception.
PLATFORM_EXPORT unsigned int _controlfp(unsigned int values, unsigned int mask);
} // namespace win32

#endif
