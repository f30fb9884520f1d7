#include <win32/machine.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <limits.h>
#include <pwd.h>
#include <unistd.h>

#include <platform/base/locks.h>

#include "../private/machine.h"
#include "../private/switches.h"

namespace win32
{
namespace
{
const std::size_t kHostNameRoom = HOST_NAME_MAX + 2; // bytes
const std::size_t kLongestUserEntry = 1 << 20;       // bytes
const unsigned int kMostProcessors = 1 << 16;        // a limit for damaged lists
const char kProcessorFolder[] = "/sys/devices/system/cpu";

// Never destroyed: threads may still call while the process exits.
platform::Mutex sLock;
std::string& sFolder PLATFORM_GUARDED_BY(sLock) = *new std::string(kProcessorFolder);

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
    while (getpwuid_r(geteuid(), &entry, room.data(), room.size(), &found) == ERANGE &&
           room.size() < kLongestUserEntry)
        room.resize(room.size() * 2);
    return found && found->pw_name ? found->pw_name : "";
}

std::string ProcessorFolder()
{
    const platform::ScLock lock(sLock);
    return sFolder;
}

// Reads one "first-last" or "number" of a list. Returns false if there is none.
bool ReadRange(std::FILE* file, unsigned int* first, unsigned int* last)
{
    if (std::fscanf(file, "%u", first) != 1)
        return false;
    *last = *first;
    const int next = std::fgetc(file);
    if (next != '-')
    {
        std::ungetc(next, file);
        return true;
    }
    return std::fscanf(file, "%u", last) == 1 && *last >= *first;
}

// Returns the numbers of a list such as "0-3,8,10-11"; none if the list can't be read.
std::vector<unsigned int> ReadList(const std::string& path)
{
    std::vector<unsigned int> numbers;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "r"),
                                                               &std::fclose);
    unsigned int first = 0;
    unsigned int last = 0;
    while (file && ReadRange(file.get(), &first, &last))
    {
        if (last >= kMostProcessors)
            return std::vector<unsigned int>();
        for (unsigned int number = first; number <= last; ++number)
            numbers.push_back(number);
        if (std::fgetc(file.get()) != ',')
            break;
    }
    return numbers;
}

// Returns the count of logical processors of each core; nothing if the system does not describe
// its processors.
std::vector<unsigned int> CoreSizes(const std::string& folder)
{
    std::vector<unsigned int> sizes;
    const std::vector<unsigned int> online = ReadList(folder + "/online");
    std::vector<bool> counted(kMostProcessors);
    for (unsigned int processor : online)
    {
        if (counted[processor])
            continue;
        const std::string cpu = folder + "/cpu" + std::to_string(processor);
        unsigned int size = 0;
        for (unsigned int sibling : ReadList(cpu + "/topology/thread_siblings_list"))
        {
            size += !counted[sibling];
            counted[sibling] = true;
        }
        if (!counted[processor])
            return std::vector<unsigned int>(); // a core without its own processor
        sizes.push_back(size);
    }
    return sizes;
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
    if (!name || size <= 0)
        return -1;
    char whole[kHostNameRoom] = {};
    if (::gethostname(whole, sizeof(whole) - 1) != 0)
        return -1;
    const std::size_t room = static_cast<std::size_t>(size) - 1;
    const std::size_t length = std::strlen(whole);
    const std::size_t copied = std::min(length, room);
    std::memcpy(name, whole, copied);
    name[copied] = 0;
    return length <= room ? 0 : -1;
}

int GetLogicalProcessorInformation(SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer,
                                   unsigned int* length)
{
    if (!length)
        return Fail(kErrorInvalidParameter);
    try
    {
        const std::vector<unsigned int> sizes = CoreSizes(ProcessorFolder());
        if (sizes.empty())
            return Fail(kErrorGeneralFailure);
        const unsigned int room = *length;
        *length = static_cast<unsigned int>(sizes.size() * sizeof(*buffer));
        if (!buffer || room < *length)
            return Fail(kErrorInsufficientBuffer);
        unsigned int processor = 0;
        for (unsigned int size : sizes)
        {
            *buffer = SYSTEM_LOGICAL_PROCESSOR_INFORMATION();
            buffer->Relationship = kRelationProcessorCore;
            for (; size > 0; --size)
                buffer->ProcessorMask |= 1ull << (processor++ % 64);
            ++buffer;
        }
        return 1;
    }
    catch (const std::bad_alloc&)
    {
        return Fail(kErrorNotEnoughMemory);
    }
}

void SetProcessorFolder(const char* folder)
{
    const platform::ScLock lock(sLock);
    sFolder = folder ? folder : kProcessorFolder;
}
} // namespace win32
