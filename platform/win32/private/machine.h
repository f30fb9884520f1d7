// Names of the machine and of the user that replace the system's while they are set.

#ifndef WIN32_PRIVATE_MACHINE_H
#define WIN32_PRIVATE_MACHINE_H

#include <string>

namespace win32
{
enum NameKind
{
    kMachineName,
    kUserName
};

// Stores a name in UTF-8 as GetComputerNameW or GetUserNameW stores its name. An empty name is
// no name.
//
// Throws: std::bad_alloc.
// REQUIRES: `size` is not null.
int StoreName(NameKind kind, const std::string& found, unsigned short* name, unsigned int* size);

// Does the work of GetComputerNameW or GetUserNameW: stores the name of SetNames, or calls
// `system`, which stores the system's name.
int GetName(NameKind kind, int (*system)(unsigned short* name, unsigned int* size),
            unsigned short* name, unsigned int* size);
} // namespace win32

#endif
