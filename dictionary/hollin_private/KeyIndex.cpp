#include "hollin_private/KeyIndex.h"

#include <functional>
#include <new>

namespace hollin_private
{
std::unique_ptr<KeyIndex> KeyIndex::Make(std::size_t count)
{
    std::size_t size = 4;
    while (size < count * 3)
        size *= 2;
    std::unique_ptr<KeyIndex> index(new (std::nothrow) KeyIndex);
    if (!index)
        return nullptr;
    index->mEntries.reset(new (std::nothrow) Entry[size]);
    if (!index->mEntries)
        return nullptr;
    index->mMask = size - 1;
    index->mFree = size / 2;
    return index;
}

std::uint32_t KeyIndex::Hash(const ByteRun& key)
{
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(ViewOf(key)));
}

void KeyIndex::Insert(std::uint32_t hash, std::uint32_t id)
{
    std::size_t i = hash & mMask;
    while (mEntries[i].mId != hollin::kNoId)
        i = (i + 1) & mMask;
    mEntries[i].mHash = hash;
    mEntries[i].mId = id;
    --mFree;
}

const KeyIndex* KeyIndexOwner::Publish(std::unique_ptr<KeyIndex> made)
{
    KeyIndex* stored = nullptr;
    if (!mIndex.compare_exchange_strong(stored, made.get(), std::memory_order_acq_rel))
        return stored;
    return made.release();
}
} // namespace hollin_private
