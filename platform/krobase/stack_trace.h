// Stack traces: the return addresses of a thread, and their names, files and lines.
//
//     void* frames[krobase::debug::kMostFrames];
//     const std::size_t count =
//         krobase::debug::GenerateStackTrace(frames, krobase::debug::kMostFrames, 0);
//     char name[100];
//     if (count && krobase::debug::StackFrameFunctionName(frames[0], name, sizeof(name)))
//         std::puts(name);
//
// (The example also needs <cstdio>.)
//
// Thread safety: all functions may be called on any thread, and none throws. The look-ups,
// which are all functions but GenerateStackTrace, share one lock. A handler of a fault must not
// call a look-up: the fault may lie inside a look-up.
//
// Symbols and debug information are those of the program and of the libraries that were loaded
// before the first look-up. The first look-up reads them, which takes the longer the larger
// they are, and stores them for the process.

#ifndef KROBASE_STACK_TRACE_H
#define KROBASE_STACK_TRACE_H

#include <cstddef>

#include <platform/base/export.h>

namespace krobase
{
namespace debug
{
// The most frames that GenerateStackTrace stores.
const std::size_t kMostFrames = 256;

// Stores at most `count` return addresses of the calling thread, the innermost first. The
// `skip` innermost addresses are left out. With a skip of 0 the first address lies in the
// caller. Takes no lock and allocates nothing.
//
// Returns: the number of addresses stored.
PLATFORM_EXPORT std::size_t GenerateStackTrace(void** frames, std::size_t count, std::size_t skip);

// Store the name of the function to which a frame returns, as its source spells the name, or
// the path of the source file. The text is cut at a character boundary to `size` bytes, of
// which one is the terminator.
//
// Returns: `buffer`. Null if the name is not known; then the buffer has the empty text.
PLATFORM_EXPORT const char* StackFrameFunctionName(void* frame, char* buffer, std::size_t size);
PLATFORM_EXPORT const char* StackFrameFullFilePath(void* frame, char* buffer, std::size_t size);

// Returns the line of the call in the source file, or 0 if the line is not known.
PLATFORM_EXPORT int StackFrameLineNumber(void* frame);
} // namespace debug
} // namespace krobase

#endif
