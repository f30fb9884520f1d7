#include "hollin_private/ByteRunKey.h"

#include <cstring>

#include "hollin_private/KeyHash.h"

namespace hollin_private
{
ByteRunKey::ByteRunKey(const ByteRun& bytes, Ownership ownership) : mKey(bytes)
{
    if (!bytes.mLength)
        mKey.mBytes = nullptr;
    else if (ownership == kCopy)
    {
        mOwned.reset(new unsigned char[bytes.mLength]);
        std::memcpy(mOwned.get(), bytes.mBytes, bytes.mLength);
        mKey.mBytes = mOwned.get();
    }
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
