// The cores of the processors, out of a folder of texts in the form of Linux.

#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include <platform/base/integer_text.h>
#include <platform/base/locks.h>

#include "machine.h"
#include "switches.h"

namespace win32
{
namespace
{
const unsigned int kMostProcessors = 1 << 16; // a limit for damaged lists

// Never destroyed: threads may still call while the process exits.
platform::Mutex sLock;
std::optional<std::string>&
    sFolder PLATFORM_GUARDED_BY(sLock) = *new std::optional<std::string>; // without: the system's

std::optional<std::string> Folder()
{
    const platform::ScLock lock(sLock);
    return sFolder;
}

// Returns the text of a file; empty if the file can't be read.
std::string ReadText(const std::string& path)
{
    std::string text;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "r"),
                                                               &std::fclose);
    if (!file)
        return text;
    do
    {
        std::clearerr(file.get()); // a read that was interrupted continues
        char piece[256];
        while (const std::size_t count = std::fread(piece, 1, sizeof(piece), file.get()))
            text.append(piece, count);
    } while (std::ferror(file.get()) && errno == EINTR);
    return text;
}

// Reads one "first-last" or "number" of a list. Returns the rest of the list, or null without a
// number.
const char* ReadRange(const char* text, unsigned int* first, unsigned int* last)
{
    const char* next = platform::ReadInteger(text, first);
    *last = *first;
    if (next && *next == '-')
        next = platform::ReadInteger(next + 1, last);
    return next && *last >= *first ? next : nullptr;
}

// Returns the numbers of a list such as "0-3,8,10-11"; none if the list can't be read.
std::vector<unsigned int> ReadList(const std::string& path)
{
    std::vector<unsigned int> numbers;
    const std::string text = ReadText(path);
    unsigned int first = 0;
    unsigned int last = 0;
    for (const char* next = text.c_str(); (next = ReadRange(next, &first, &last)); ++next)
    {
        if (last >= kMostProcessors)
            return std::vector<unsigned int>();
        for (unsigned int number = first; number <= last; ++number)
            numbers.push_back(number);
        if (*next != ',')
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

int ReadProcessors(const std::string& folder, SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer,
                   unsigned int* length)
{
    const std::vector<unsigned int> sizes = CoreSizes(folder);
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

int GetProcessors(int (*system)(SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer, unsigned int* length),
                  SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer, unsigned int* length)
{
    if (!length)
        return Fail(kErrorInvalidParameter);
    try
    {
        const std::optional<std::string> folder = Folder();
        return folder ? ReadProcessors(*folder, buffer, length) : system(buffer, length);
    }
    catch (const std::bad_alloc&)
    {
        return Fail(kErrorNotEnoughMemory);
    }
}

void SetProcessorFolder(const char* folder)
{
    std::optional<std::string> fresh;
    if (folder)
        fresh = folder;
    const platform::ScLock lock(sLock);
    sFolder.swap(fresh);
}
} // namespace win32
