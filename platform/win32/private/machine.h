// Facts of the machine that replace the system's while a switch sets them.

#ifndef WIN32_PRIVATE_MACHINE_H
#define WIN32_PRIVATE_MACHINE_H

#include <string>

#include <win32/machine.h>

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

// Does the work of gethostname for the host name `whole`; null if the system knows none.
int StoreHostName(const char* whole, char* name, int size);

// Does the work of GetLogicalProcessorInformation: reads the folder of SetProcessorFolder, or calls
// `system`.
int GetProcessors(int (*system)(SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer, unsigned int* length),
                  SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer, unsigned int* length);

// Stores an entry for each core that the folder describes.
//
// Throws: std::bad_alloc.
// REQUIRES: `length` is not null.
int ReadProcessors(const std::string& folder, SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer,
                   unsigned int* length);
} // namespace win32

#endif
