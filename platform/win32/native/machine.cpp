#include <win32/machine.h>

#include <cstddef>

#include <win32/text.h>

#include "../private/machine.h"
#include "windows_api.h"

namespace win32
{
namespace
{
typedef ::SYSTEM_LOGICAL_PROCESSOR_INFORMATION SystemInformation;

static_assert(sizeof(SYSTEM_LOGICAL_PROCESSOR_INFORMATION) == sizeof(SystemInformation) &&
              offsetof(SYSTEM_LOGICAL_PROCESSOR_INFORMATION, ProcessorMask) ==
                  offsetof(SystemInformation, ProcessorMask) &&
              offsetof(SYSTEM_LOGICAL_PROCESSOR_INFORMATION, Relationship) ==
                  offsetof(SystemInformation, Relationship));
static_assert(kRelationProcessorCore == RelationProcessorCore);

const std::size_t kHostNameRoom = 256; // units; a host name has at most 63

// Calls a function of the system that stores a name. A null name has no capacity.
template <auto ask> int StoreSystemName(unsigned short* name, unsigned int* size)
{
    DWORD room = name ? *size : 0;
    const BOOL isStored = ask(Wide(name), &room);
    *size = room;
    return isStored;
}

int StoreSystemProcessors(SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer, unsigned int* length)
{
    DWORD room = buffer ? *length : 0;
    const BOOL isStored =
        ::GetLogicalProcessorInformation(reinterpret_cast<SystemInformation*>(buffer), &room);
    *length = room;
    return isStored;
}
} // namespace

int GetComputerNameW(unsigned short* name, unsigned int* size)
{
    return GetName(kMachineName, &StoreSystemName<&::GetComputerNameW>, name, size);
}

int GetUserNameW(unsigned short* name, unsigned int* size)
{
    return GetName(kUserName, &StoreSystemName<&::GetUserNameW>, name, size);
}

// The system's own gethostname needs its sockets, which the host may not have started.
int gethostname(char* name, int size)
{
    unsigned short host[kHostNameRoom];
    char whole[kHostNameRoom * 4] = {};
    DWORD room = kHostNameRoom;
    const bool isKnown =
        ::GetComputerNameExW(ComputerNameDnsHostname, Wide(host), &room) &&
        WideCharToMultiByte(kCodePageActive, 0, host, -1, whole, sizeof(whole), nullptr, nullptr);
    return StoreHostName(isKnown ? whole : nullptr, name, size);
}

int GetLogicalProcessorInformation(SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer,
                                   unsigned int* length)
{
    return GetProcessors(&StoreSystemProcessors, buffer, length);
}
} // namespace win32
