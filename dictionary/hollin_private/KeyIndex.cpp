#include "hollin_private/KeyIndex.h"

namespace hollin_private
{
void KeyIndex::InsertFirst(std::uint32_t id, const KeyAndValue& runs)
{
    const Entry entry = {runs.mValue.mBytes, runs.mValue.mLength, id};
    if (runs.mKey.mLength && !mEntries.emplace(runs.mKey, entry).second)
        mHasEqualKeys = true;
}

void KeyIndex::Drop()
{
    mEntries = Entries();
    mHasEqualKeys = false;
    mState.store(State::kNone, std::memory_order_release);
}

const KeyIndex::Entry* KeyIndex::Find(const ByteRun& key) const
{
    const auto found = mEntries.find(key);
    return found == mEntries.end() ? nullptr : &found->second;
}

void KeyIndex::Insert(std::uint32_t id, const KeyAndValue& runs)
{
    if (!IsMade())
        return;
    try
    {
        InsertFirst(id, runs);
    }
    catch (const std::bad_alloc&)
    {
        Drop();
    }
}

void KeyIndex::Change(const ByteRun& key, std::uint32_t id, const KeyAndValue& runs)
{
    if (!IsMade())
        return;
    const auto found = mEntries.find(key);
    if (found == mEntries.end() || found->second.mId != id)
        return;
    if (runs.mKey.mLength)
        found->second = {runs.mValue.mBytes, runs.mValue.mLength, id};
    else if (mHasEqualKeys)
        Drop(); // the next identifier with the key is now the first
    else
        mEntries.erase(found);
}
} // namespace hollin_private
