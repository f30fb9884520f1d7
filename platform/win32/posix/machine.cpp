#include <win32/machine.h>

#include <cerrno>
#include <string>
#include <vector>

#include <limits.h>
#include <pwd.h>
#include <unistd.h>

#include "../private/machine.h"

namespace win32
{
namespace
{
const std::size_t kHostNameRoom = HOST_NAME_MAX + 2; // bytes
const std::size_t kLongestUserEntry = 1 << 20;       // bytes

std::string HostName()
{
    char name[kHostNameRoom] = {};
    return gethostname(name, sizeof(name)) == 0 ? name : "";
}

std::string UserName()
{
    std::vector<char> room(1024);
    passwd entry;
    passwd* found = nullptr;
    int error = 0;
    while ((error = getpwuid_r(geteuid(), &entry, room.data(), room.size(), &found)) == EINTR ||
           (error == ERANGE && room.size() < kLongestUserEntry))
    {
        if (error == ERANGE)
            room.resize(room.size() * 2);
    }
    return found ? found->pw_name : "";
}
} // namespace

int GetComputerNameW(unsigned short* name, unsigned int* size)
{
    const auto system = [](unsigned short* found, unsigned int* length) {
        return StoreName(kMachineName, HostName(), found, length);
    };
    return GetName(kMachineName, system, name, size);
}

int GetUserNameW(unsigned short* name, unsigned int* size)
{
    const auto system = [](unsigned short* found, unsigned int* length) {
        return StoreName(kUserName, UserName(), found, length);
    };
    return GetName(kUserName, system, name, size);
}

int gethostname(char* name, int size)
{
    char whole[kHostNameRoom] = {};
    const bool isKnown = ::gethostname(whole, sizeof(whole) - 1) == 0;
    return StoreHostName(isKnown ? whole : nullptr, name, size);
}

int GetLogicalProcessorInformation(SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer,
                                   unsigned int* length)
{
    const auto system = [](SYSTEM_LOGICAL_PROCESSOR_INFORMATION* found, unsigned int* size) {
        return ReadProcessors("/sys/devices/system/cpu", found, size);
    };
    return GetProcessors(system, buffer, length);
}
} // namespace win32
