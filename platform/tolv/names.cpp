#include "private/heap.h"
#include "private/thread_record.h"

#include <atomic>
#include <cstring>

#include <platform/base/code_units.h>

#include "private/own_pages.h"

namespace tolv
{
namespace
{
const std::size_t kLongestName = 63;
const std::uint32_t kEntries = 0x10000;
const std::uint32_t kMostProbes = 64;
const std::uint32_t kNoName = 0xFFFFFFFFu;

// Null, or a name. A name is never removed.
std::atomic<const char*> sNames[kEntries];

std::uint32_t Hash(const char* name, std::size_t length)
{
    std::uint32_t hash = 2166136261u;
    for (std::size_t i = 0; i < length; ++i)
        hash = (hash ^ static_cast<unsigned char>(name[i])) * 16777619u;
    return hash;
}

bool IsName(const char* present, const char* name, std::size_t length)
{
    return std::strncmp(present, name, length) == 0 && present[length] == 0;
}

// Stores a copy of the name in a free entry. If another thread was first, returns the name of that
// thread, and the copy is lost. Returns null without memory.
const char* Claim(std::atomic<const char*>& entry, const char* name, std::size_t length)
{
    char* copy = static_cast<char*>(NewForever(length + 1));
    if (!copy)
        return nullptr;
    std::memcpy(copy, name, length);
    const char* present = nullptr;
    return entry.compare_exchange_strong(present, copy, std::memory_order_acq_rel) ? copy : present;
}
} // namespace

std::uint32_t InternName(const char* name)
{
    if (!name)
        return 0;
    const std::size_t length =
        platform::CutUTF8(name, strnlen(name, kLongestName + 1), kLongestName);
    const std::uint32_t start = Hash(name, length);
    for (std::uint32_t probe = 0; probe < kMostProbes; ++probe)
    {
        const std::uint32_t index = (start + probe) % kEntries;
        const char* present = sNames[index].load(std::memory_order_acquire);
        if (!present)
            present = Claim(sNames[index], name, length);
        if (!present)
            return kNoName;
        if (IsName(present, name, length))
            return index + 1;
    }
    return kNoName;
}

const char* NameOf(std::uint32_t number)
{
    if (number == 0)
        return "(no name)";
    if (number > kEntries)
        return "(further names)";
    return sNames[number - 1].load(std::memory_order_acquire);
}

// A cut name is not equal to the name that was passed, so the next call interns it again.
std::uint32_t NameCache::Intern(const char* name, Entry& entry)
{
    const std::uint32_t number = InternName(name);
    if (number != kNoName)
        entry = {name, NameOf(number), number};
    return number;
}
} // namespace tolv
