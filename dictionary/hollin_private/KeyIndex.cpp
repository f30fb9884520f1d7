#include "hollin_private/KeyIndex.h"

#include <functional>

namespace hollin_private
{
std::uint32_t KeyIndex::Hash(const ByteRun& key)
{
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(ViewOf(key)));
}

std::size_t KeyIndex::SizeFor(std::size_t count)
{
    std::size_t size = 4;
    while (size < count * 3)
        size *= 2;
    return size;
}

void KeyIndex::InsertIn(Entry* entries, std::size_t mask, std::uint32_t hash, std::uint32_t id)
{
    std::size_t i = hash & mask;
    while (entries[i].mId != hollin::kNoId)
        i = (i + 1) & mask;
    entries[i].mHash = hash;
    entries[i].mId = id;
}

void KeyIndex::Insert(const ByteRun& key, std::uint32_t id)
{
    Entry* const entries = mEntries.load(std::memory_order_relaxed);
    if (!entries)
        return;
    const std::size_t mask = mMask.load(std::memory_order_relaxed);
    const std::size_t used = mUsed.load(std::memory_order_relaxed) + 1;
    if (used > (mask + 1) / 2)
        return Drop();
    InsertIn(entries, mask, Hash(key), id);
    mUsed.store(used, std::memory_order_relaxed);
}
} // namespace hollin_private
