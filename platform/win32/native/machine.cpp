#include <win32/machine.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include <win32/text.h>

#include "../private/machine.h"
#include "../private/switches.h"
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
    DWORD length = kHostNameRoom;
    if (!name || size <= 0 || !::GetComputerNameExW(ComputerNameDnsHostname, Wide(host), &length) ||
        !WideCharToMultiByte(kCodePageActive, 0, host, -1, whole, sizeof(whole), nullptr, nullptr))
        return -1;
    const std::size_t room = static_cast<std::size_t>(size) - 1;
    const std::size_t bytes = std::strlen(whole);
    const std::size_t copied = std::min(bytes, room);
    std::memcpy(name, whole, copied);
    name[copied] = 0;
    return bytes <= room ? 0 : -1;
}

int GetLogicalProcessorInformation(SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer,
                                   unsigned int* length)
{
    if (!length)
        return Fail(kErrorInvalidParameter);
    DWORD room = buffer ? *length : 0;
    const BOOL isStored =
        ::GetLogicalProcessorInformation(reinterpret_cast<SystemInformation*>(buffer), &room);
    *length = room;
    return isStored;
}

// The system describes its processors in no folder.
void SetProcessorFolder(const char*) {}
} // namespace win32
