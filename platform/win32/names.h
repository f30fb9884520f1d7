// Names of the machine and the user, under the operating system's own names. Any
// thread.
//
// Both store a name in UTF-16 with its terminator. *size is the room in units;
// it becomes the name's length, without the terminator for the machine's and with
// it for the user's, or on 122 and 111 the room needed. Non-zero on success; 0 with
// the reason in GetLastError: 87 for a null, 111 (the machine's) or 122 (the user's)
// for too little room, 2 if the system knows no name, 8 without memory.

#ifndef WIN32_NAMES_H
#define WIN32_NAMES_H

#include <platform/base/export.h>

namespace win32
{
// The host's name without its domain, cut behind a character to 31 units: this name
// is the short one of the machine.
PLATFORM_EXPORT int GetComputerNameW(unsigned short* name, unsigned int* size);

// The name of the user whose rights the process has.
PLATFORM_EXPORT int GetUserNameW(unsigned short* name, unsigned int* size);
} // namespace win32

#endif
