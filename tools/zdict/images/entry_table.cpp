#include "images/entry_table.h"

#include <algorithm>
#include <limits>
#include <new>
#include <unordered_set>

namespace
{
// Returns the size of a pool as an offset.
std::uint32_t OffsetAt(std::size_t size, std::size_t more)
{
    if (size + more > std::numeric_limits<std::uint32_t>::max())
        throw std::bad_alloc();
    return static_cast<std::uint32_t>(size);
}
} // namespace

EntryTable::EntryTable() : mIndex(0, Hash{this}, Equal{this}) {}

void EntryTable::Reserve(std::size_t slots, std::size_t keyBytes, std::size_t units)
{
    mSlots.reserve(mSlots.size() + slots);
    mKeys.reserve(mKeys.size() + keyBytes);
    mUnits.reserve(mUnits.size() + units);
    mIndex.reserve(mIndex.size() + slots);
}

std::string_view EntryTable::Key(std::uint32_t id) const
{
    const Run& key = mSlots[id].mKey;
    return std::string_view(mKeys.data() + key.mOffset, key.mLength);
}

std::uint32_t EntryTable::Find(std::string_view key) const
{
    const auto found = mIndex.find(key);
    return found == mIndex.end() ? hollin::kNoId : *found;
}

std::vector<std::uint32_t> EntryTable::Entries() const
{
    std::vector<std::uint32_t> ids;
    ids.reserve(mSlots.size());
    std::unordered_set<std::string_view> unfound;
    for (std::uint32_t id = 0; id < Slots(); ++id)
    {
        const std::uint32_t found = IsLive(id) ? Find(Key(id)) : hollin::kNoId;
        if (found == id || (IsLive(id) && found == hollin::kNoId && unfound.insert(Key(id)).second))
            ids.push_back(id);
    }
    return ids;
}

std::uint32_t EntryTable::FindOrAdd(std::string_view key)
{
    // Nearly all keys are new: one search of the index is enough for them.
    const std::uint32_t id = AddSlot(key);
    const auto [found, isNew] = mIndex.insert(id);
    if (isNew)
        mBuckets[hollin::BucketOf(key)].push_back(id);
    else
    {
        mKeys.resize(mKeys.size() - key.size());
        mSlots.pop_back();
    }
    return *found;
}

std::uint32_t EntryTable::AddSlot(std::string_view key)
{
    const std::uint32_t id = OffsetAt(mSlots.size(), 1);
    Slot slot;
    slot.mKey = {OffsetAt(mKeys.size(), key.size()), static_cast<std::uint32_t>(key.size())};
    mKeys += key;
    mSlots.push_back(slot);
    return id;
}

void EntryTable::AddToBucket(std::uint32_t bucket, std::uint32_t id)
{
    mBuckets[bucket].push_back(id);
    if (IsLive(id) && hollin::BucketOf(Key(id)) == bucket)
        mIndex.insert(id);
}

void EntryTable::Store(UnitView text, Run* run)
{
    if (text.size() > run->mLength)
    {
        run->mOffset = OffsetAt(mUnits.size(), text.size());
        mUnits.insert(mUnits.end(), text.begin(), text.end());
    }
    else
        std::copy(text.begin(), text.end(), mUnits.begin() + run->mOffset);
    run->mLength = static_cast<std::uint32_t>(text.size());
}

void EntryTable::Remove(std::string_view key)
{
    const std::string removed(key); // `key` may be in the table
    if (mIndex.erase(removed) == 0)
        return;
    for (const std::uint32_t id : mBuckets[hollin::BucketOf(removed)])
    {
        if (Key(id) == removed)
            mSlots[id] = Slot();
    }
}
