#include <win32/processor.h>

#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

#include <win32/text.h>

#include "../private/failure.h"
#include "../private/switches.h"
#include <platform/base/quiet_new.h>

namespace win32
{
namespace
{
const unsigned int kErrorGeneralFailure = 31;
const unsigned int kMostProcessors = 1 << 16; // what a damaged list may claim

// Never destroyed: threads may still ask while the process exits.
boost::mutex& sFolderLock = *new boost::mutex; // guards sFolder
std::string& sFolder = *new std::string("/sys/devices/system/cpu");

std::string Folder()
{
    const platform::ScQuietLock<boost::mutex> lock(sFolderLock);
    return sFolder;
}

// Takes one "first-last" or "number" of a list. False if there is none.
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

// The numbers of a list such as "0-3,8,10-11". Empty if it can't be read.
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

// How many logical processors each core has. Empty if the system doesn't tell.
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

void __cpuidex(int registers[4], int leaf, int subleaf)
{
    unsigned int a = 0;
    unsigned int b = 0;
    unsigned int c = 0;
    unsigned int d = 0;
#if defined(__x86_64__) || defined(__i386__)
    if (!__get_cpuid_count(static_cast<unsigned int>(leaf), static_cast<unsigned int>(subleaf), &a,
                           &b, &c, &d))
        a = b = c = d = 0;
#else
    (void)leaf;
    (void)subleaf;
#endif
    registers[0] = static_cast<int>(a);
    registers[1] = static_cast<int>(b);
    registers[2] = static_cast<int>(c);
    registers[3] = static_cast<int>(d);
}

int GetLogicalProcessorInformation(SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer,
                                   unsigned int* length)
{
    if (!length)
        return Fail(kErrorInvalidParameter);
    try
    {
        const std::vector<unsigned int> sizes = CoreSizes(Folder());
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
    const platform::ScQuietLock<boost::mutex> lock(sFolderLock);
    sFolder = folder ? folder : "/sys/devices/system/cpu";
}
} // namespace win32
