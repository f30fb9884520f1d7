#include "hollin_private/ByteRunKey.h"

#include "hollin_private/KeyHash.h"

namespace hollin_private
{
ByteRunKey::ByteRunKey(const ByteRun& bytes, Ownership ownership) : mKey(bytes)
{
    if (ownership == kCopy)
    {
        mOwned = CopyOf(bytes);
        mKey.mBytes = mOwned.get();
    }
    else if (!bytes.mLength)
        mKey.mBytes = nullptr;
}

ByteRunKey::ByteRunKey(const ByteRunKey& other) : ByteRunKey(other.mKey, kCopy) {}

std::uint32_t ByteRunKey::Hash(std::uint32_t tableSize) const
{
    return HashKey(mKey, tableSize);
}

bool ByteRunKey::Equals(const HashItem& other) const
{
    return mKey == static_cast<const ByteRunKey&>(other).mKey;
}
} // namespace hollin_private
