// The functions that each operating system defines for the sources of this folder, and the
// functions of this folder that each system calls.

#ifndef WIN32_PRIVATE_SYSTEM_H
#define WIN32_PRIVATE_SYSTEM_H

#include <cstddef>

#include <win32/message_queue.h>

namespace win32
{
// Each system defines the functions below.

// Return the counts per second of the system's performance counter, and store its counts. Without
// a counter: 0 and false.
long long SystemFrequency();
bool ReadSystemCounter(long long* counts);

// Returns the physical memory of the machine in bytes, 0 if the system does not know.
unsigned long long InstalledMemory();

// The physical memory that the system manages, and its free part, in bytes; 0 for a figure that the
// system does not know.
struct MemoryUse
{
    unsigned long long mTotal;
    unsigned long long mAvailable;
};
MemoryUse FindMemoryUse();

// Does the work of HeapCompact for the heap of the process.
std::size_t CompactProcessHeap(unsigned int flags);

// Passes the text to the system's debugger, or writes the text to stderr. The text is not null.
void WriteDebugString(const char* text);

// Does the work of MessageBeep.
int Beep(unsigned int type);

// This folder defines the function below.

// Passes a message to the thread to the procedure of platform::SetWindowProcedure, if one is set.
//
// Throws: the exceptions of the procedure.
void CallHostProcedure(const MSG& message);
} // namespace win32

#endif
