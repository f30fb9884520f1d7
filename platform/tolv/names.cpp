#include "private/names.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include <platform/base/code_units.h>

namespace tolv
{
namespace
{
const std::size_t kLongestName = 63;
const std::uint32_t kPlaces = 0x10000;
const std::uint32_t kMostProbes = 64;
const std::uint32_t kNoPlace = 0xFFFFFFFFu;

std::atomic<const char*> sNames[kPlaces]; // once set, an entry stays

std::uint32_t Hash(const char* name, std::size_t length)
{
    std::uint32_t hash = 2166136261u;
    for (std::size_t i = 0; i < length; ++i)
        hash = (hash ^ static_cast<unsigned char>(name[i])) * 16777619u;
    return hash;
}

bool IsName(const char* entry, const char* name, std::size_t length)
{
    return std::strncmp(entry, name, length) == 0 && entry[length] == 0;
}

// Puts a copy of the name in a free place, unless another thread was first.
const char* Claim(std::atomic<const char*>& place, const char* name, std::size_t length)
{
    char* copy = static_cast<char*>(std::malloc(length + 1));
    if (!copy)
        return nullptr;
    std::memcpy(copy, name, length);
    copy[length] = 0;
    const char* entry = nullptr;
    if (place.compare_exchange_strong(entry, copy, std::memory_order_acq_rel))
        return copy;
    std::free(copy);
    return entry;
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
        const std::uint32_t place = (start + probe) % kPlaces;
        const char* entry = sNames[place].load(std::memory_order_acquire);
        if (!entry)
            entry = Claim(sNames[place], name, length);
        if (!entry)
            return kNoPlace;
        if (IsName(entry, name, length))
            return place + 1;
    }
    return kNoPlace;
}

const char* NameOf(std::uint32_t number)
{
    if (number == 0)
        return "(no name)";
    if (number > kPlaces)
        return "(further names)";
    return sNames[number - 1].load(std::memory_order_acquire);
}
} // namespace tolv
