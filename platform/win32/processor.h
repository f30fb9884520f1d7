// The processor, under the operating system's own names. Any thread.

#ifndef WIN32_PROCESSOR_H
#define WIN32_PROCESSOR_H

#include <platform/base/export.h>

namespace win32
{
// Stores EAX, EBX, ECX and EDX of a CPUID leaf; zeros where the processor has no
// such leaf, or no CPUID.
PLATFORM_EXPORT void __cpuidex(int registers[4], int leaf, int subleaf);

const int kRelationProcessorCore = 0;

struct SYSTEM_LOGICAL_PROCESSOR_INFORMATION
{
    // Holds a bit for each logical processor of the core. Processors are counted
    // from core to core, those that are switched off left out, and from 0 again
    // after 64.
    unsigned long long ProcessorMask;
    int Relationship;
    unsigned long long Reserved[2];
};

// Stores an entry for each processor core. *length is the buffer's size in bytes
// and becomes the size needed. Non-zero on success; 0 with the reason in
// GetLastError: 122 if the buffer is too small, 31 if the system doesn't tell, 8
// without memory.
PLATFORM_EXPORT int GetLogicalProcessorInformation(SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer,
                                                   unsigned int* length);
} // namespace win32

#endif
