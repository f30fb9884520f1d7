// A key of a hash table.

#ifndef HOLLIN_PRIVATE_BYTE_RUN_KEY_H
#define HOLLIN_PRIVATE_BYTE_RUN_KEY_H

#include <cstdint>

#include "hollin_private/ByteRun.h"
#include "hollin_private/HashItem.h"

namespace hollin_private
{
class ByteRunKey : public HashItem
{
public:
    enum Ownership
    {
        kBorrow, // the bytes outlive the key; costs no allocation
        kCopy
    };

    ByteRunKey(const ByteRun& bytes, Ownership ownership);
    ByteRunKey(const ByteRunKey& other); // always owns its copy

    const ByteRun& Key() const { return mKey; }

    std::uint32_t Hash(std::uint32_t tableSize) const override;
    bool Equals(const HashItem& other) const override; // other is a ByteRunKey

private:
    ByteRun mKey;
    OwnedRun mOwned; // null if the bytes are borrowed
};
} // namespace hollin_private

#endif
