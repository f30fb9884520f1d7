// What a hash table chains.

#ifndef HOLLIN_PRIVATE_HASH_ITEM_H
#define HOLLIN_PRIVATE_HASH_ITEM_H

#include <cstdint>

namespace hollin_private
{
class HashItem
{
public:
    HashItem() = default;
    HashItem(const HashItem&) {} // the copy is in no chain yet
    HashItem& operator=(const HashItem&) = delete;
    virtual ~HashItem() = default;

    virtual std::uint32_t Hash(std::uint32_t tableSize) const = 0;

    // The items of one table, and what is searched for there, are of one kind.
    virtual bool Equals(const HashItem& other) const = 0;

    HashItem* mNext = nullptr; // owned by the table, as the item itself is
};
} // namespace hollin_private

#endif
