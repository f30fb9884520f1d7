#include "hollin_private/KeyIndex.h"

#include <functional>

namespace hollin_private
{
namespace
{
// The hash of all bytes of a key.
std::uint32_t HashOf(const ByteRun& key)
{
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(ViewOf(key)));
}

std::size_t FirstOf(std::uint32_t hash, std::size_t size)
{
    return static_cast<std::size_t>(std::uint64_t(hash) * size >> 32);
}

std::size_t Next(std::size_t i, std::size_t size)
{
    return ++i == size ? 0 : i;
}

void SetRuns(KeyIndex::Entry& entry, const KeyAndValue& runs)
{
    entry.mKey = runs.mKey.mBytes;
    entry.mKeyLength = static_cast<std::uint16_t>(runs.mKey.mLength);
    entry.mValue = runs.mValue.mBytes;
    entry.mValueLength = static_cast<std::uint16_t>(runs.mValue.mLength);
}
} // namespace

std::size_t KeyIndex::SizeFor(std::size_t count)
{
    return count + count / 2 + 2;
}

void KeyIndex::InsertIn(Entry* entries, std::size_t size, std::uint32_t id, const KeyAndValue& runs)
{
    const std::uint32_t hash = HashOf(runs.mKey);
    std::size_t i = FirstOf(hash, size);
    while (entries[i].mId != hollin::kNoId)
        i = Next(i, size);
    entries[i].mHash = hash;
    entries[i].mId = id;
    SetRuns(entries[i], runs);
}

const KeyIndex::Entry* KeyIndex::Find(const ByteRun& key) const
{
    const Entry* const entries = mEntries.load(std::memory_order_acquire);
    const std::size_t size = mSize.load(std::memory_order_relaxed);
    const std::uint32_t hash = HashOf(key);
    for (std::size_t i = FirstOf(hash, size); entries[i].mId != hollin::kNoId; i = Next(i, size))
    {
        const Entry& entry = entries[i];
        if (entry.mHash == hash && entry.mKeyLength == key.mLength &&
            std::memcmp(entry.mKey, key.mBytes, key.mLength) == 0)
            return &entry;
    }
    return nullptr;
}

void KeyIndex::Insert(std::uint32_t id, const KeyAndValue& runs)
{
    Entry* const entries = mEntries.load(std::memory_order_relaxed);
    if (!entries)
        return;
    const std::size_t size = mSize.load(std::memory_order_relaxed);
    const std::size_t used = mUsed.load(std::memory_order_relaxed) + 1;
    if (used >= size - size / 8)
        return Drop();
    InsertIn(entries, size, id, runs);
    mUsed.store(used, std::memory_order_relaxed);
}

void KeyIndex::Change(const ByteRun& key, std::uint32_t id, const KeyAndValue& runs)
{
    Entry* const entries = mEntries.load(std::memory_order_relaxed);
    if (!entries)
        return;
    const std::size_t size = mSize.load(std::memory_order_relaxed);
    for (std::size_t i = FirstOf(HashOf(key), size); entries[i].mId != hollin::kNoId;
         i = Next(i, size))
    {
        if (entries[i].mId == id)
            SetRuns(entries[i], runs);
    }
}
} // namespace hollin_private
