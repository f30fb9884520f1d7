// The calls that led to a place, for people to read. None of it throws. Any
// thread.
//
// Names and lines come from the symbols and the debug information of the
// program and its libraries, those apart that were loaded after the first
// look-up. They are read on that look-up, which takes the longer the larger they
// are, and kept. Look-ups wait for each other: what handles a fault leaves them
// alone, for the fault may lie inside one.

#ifndef KROBASE_STACK_TRACE_H
#define KROBASE_STACK_TRACE_H

#include <cstddef>

#include <platform/base/export.h>

namespace krobase
{
namespace debug
{
// The most frames that GenerateStackTrace gives.
const std::size_t kMostFrames = 256;

// Fills frames with at most count return addresses of the calling thread, the
// innermost first, without the innermost skip; with skip 0 the first lies in the
// caller. Returns how many there are. Takes no lock and allocates nothing.
PLATFORM_EXPORT std::size_t GenerateStackTrace(void** frames, std::size_t count, std::size_t skip);

// The name of the function to which a frame returns, as its source spells it,
// or the path of the file in which it stands. Written to buffer with a
// terminator, cut at a character boundary to size bytes. Returns buffer, or
// null, with an empty text in it, if it isn't known.
PLATFORM_EXPORT const char* StackFrameFunctionName(void* frame, char* buffer, std::size_t size);
PLATFORM_EXPORT const char* StackFrameFullFilePath(void* frame, char* buffer, std::size_t size);

// The line of the call in that file, 0 if it isn't known.
PLATFORM_EXPORT int StackFrameLineNumber(void* frame);
} // namespace debug
} // namespace krobase

#endif
