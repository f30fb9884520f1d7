// The machine, under the operating system's own names: its name and its user's, and its
// processor.
//
//     unsigned short name[32];
//     unsigned int size = 32;
//     if (!win32::GetComputerNameW(name, &size))
//         name[0] = 0;
//
// Thread safety: all functions may be called on any thread.

#ifndef WIN32_MACHINE_H
#define WIN32_MACHINE_H

#include <platform/base/export.h>

#include "errors.h"

namespace win32
{
// Store a name in UTF-16 with a terminator: the name of the machine, which is the host name
// without its domain, cut at a character boundary to 31 units, or on Windows the name of at most 15
// units that the system itself derives; and the name of the user whose rights the process has.
// *size is the capacity in units. On success it becomes the length, GetUserNameW including the
// terminator and GetComputerNameW without it.
//
// Returns: non-zero on success, or 0. Then GetLastError returns
//  - 87 for a null size;
//  - 111 (GetComputerNameW) or 122 (GetUserNameW) if the capacity is too small or `name` is
//    null. *size becomes the capacity needed;
//  - 2 if the system knows no name;
//  - 8 without memory.
PLATFORM_EXPORT int GetComputerNameW(unsigned short* name, unsigned int* size);
PLATFORM_EXPORT int GetUserNameW(unsigned short* name, unsigned int* size);

// Stores the host name with a terminator. `size` is the capacity in bytes.
//
// Returns: 0; -1 if the system knows no name, or if the name does not fit, and then stores as
// many bytes as fit with a terminator. For a null name or a capacity of 0 or less it returns
// -1 and stores nothing.
PLATFORM_EXPORT int gethostname(char* name, int size);

// Stores EAX, EBX, ECX and EDX of a CPUID leaf; zeros if the processor lacks the leaf or the
// instruction.
PLATFORM_EXPORT void __cpuidex(int registers[4], int leaf, int subleaf);

const unsigned int kAVX2InstructionsAvailable = 40;

// Returns non-zero if the processor has the feature and the system supports it, unless
// platform::SetVectors has turned vectors off; 0 also for a feature without a constant here.
PLATFORM_EXPORT int IsProcessorFeaturePresent(unsigned int feature);

const int kRelationProcessorCore = 0;

struct SYSTEM_LOGICAL_PROCESSOR_INFORMATION
{
    // A bit for each logical processor of the core. The logical processors that are switched
    // on are numbered from core to core. After number 63 the numbers start again at 0.
    unsigned long long ProcessorMask;
    int Relationship;
    unsigned long long Reserved[2];
};

// Stores an entry for each processor core. On Windows there are entries with another Relationship,
// too. *length is the capacity of the buffer in bytes and becomes the size needed.
//
// Returns: non-zero on success, or 0. Then GetLastError returns
//  - 122 if the buffer is too small or null;
//  - 87 for a null length;
//  - 31 if the system does not describe its processors;
//  - 8 without memory.
PLATFORM_EXPORT int GetLogicalProcessorInformation(SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer,
                                                   unsigned int* length);
} // namespace win32

#endif
