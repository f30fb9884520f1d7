// The C runtime, under its own names.
//
// Thread safety: any thread.

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

// Called if operator new finds no memory, with the size in bytes; 0 if the program has an operator
// new of its own, from which no size is known. No lock of this library or of U is held during the
// call.
//
// Returns: non-zero to try again, at most 10000 times for one block; 0 to throw std::bad_alloc. An
// exception of any other type that the handler throws becomes std::bad_alloc.
typedef int (*NewHandler)(std::size_t size);

// Replaces the handler. A handler is called through the standard library's new handler, which it
// replaces. Null restores the standard library's, unless another one was installed over ours; that
// one may still call ours, which then passes on to the one that it has replaced. A handler after
// null is installed over that other one, up to four times; ours stays beneath a fifth.
//
// Returns: the previous handler; null for none.
PLATFORM_EXPORT NewHandler _set_new_handler(NewHandler handler);

// Called if the runtime gets an invalid parameter. The texts may be null.
typedef void (*InvalidParameterHandler)(const unsigned short* expression,
                                        const unsigned short* function, const unsigned short* file,
                                        unsigned int line, std::uintptr_t reserved);

// Replaces the handler.
//
// Returns: the previous handler; null for none.
PLATFORM_EXPORT InvalidParameterHandler
_set_invalid_parameter_handler(InvalidParameterHandler handler);
PLATFORM_EXPORT InvalidParameterHandler _get_invalid_parameter_handler();

// Calls the handler, and returns if the handler returns. Without a handler, ends the process in a
// way of which the system writes a crash log.
PLATFORM_EXPORT void _invalid_parameter(const unsigned short* expression,
                                        const unsigned short* function, const unsigned short* file,
                                        unsigned int line, std::uintptr_t reserved);

// Sets the fields in the mask of the calling thread's control word. Other bits of both arguments
// are ignored, and so is kEMDenormal, which is not changed. An exception that is not masked is a
// hardware exception.
//
// If the processor cannot distinguish operands from results, both are flushed if either is to be.
// If the processor has no denormal exception, that exception is always masked.
//
// Returns: the word after the change.
PLATFORM_EXPORT unsigned int _controlfp(unsigned int values, unsigned int mask);
} // namespace win32

#endif
