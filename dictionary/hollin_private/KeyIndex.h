// An index of the keys of one bucket, so that a look-up takes the same time in a bucket of any
// size. The index is made at the first look-up in the bucket, and is no part of a file.

#ifndef HOLLIN_PRIVATE_KEY_INDEX_H
#define HOLLIN_PRIVATE_KEY_INDEX_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "hollin/Limits.h"
#include "hollin_private/ByteRun.h"

namespace hollin_private
{
// A hash table with open addressing, from the hash of a whole key to identifiers. Of equal keys
// the one that was inserted first is found first.
class KeyIndex
{
public:
    // Makes an empty index with room for `count` identifiers and as many again. Returns null
    // without memory.
    static std::unique_ptr<KeyIndex> Make(std::size_t count);

    // The hash of all bytes of a key.
    static std::uint32_t Hash(const ByteRun& key);

    // Returns whether Insert may be called.
    bool HasRoom() const { return mFree != 0; }

    // REQUIRES: HasRoom(); id != hollin::kNoId.
    void Insert(std::uint32_t hash, std::uint32_t id);

    // Returns the first identifier with the hash for which hasKey(id) holds, or hollin::kNoId.
    template <class HasKey> std::uint32_t Find(std::uint32_t hash, const HasKey& hasKey) const
    {
        for (std::size_t i = hash & mMask; mEntries[i].mId != hollin::kNoId; i = (i + 1) & mMask)
        {
            if (mEntries[i].mHash == hash && hasKey(mEntries[i].mId))
                return mEntries[i].mId;
        }
        return hollin::kNoId;
    }

private:
    struct Entry
    {
        std::uint32_t mHash = 0;
        std::uint32_t mId = hollin::kNoId; // kNoId in an empty entry
    };

    KeyIndex() = default;

    std::unique_ptr<Entry[]> mEntries; // never more than half are used
    std::size_t mMask = 0;             // the number of entries, a power of two, less one
    std::size_t mFree = 0;             // identifiers that may still be inserted
};

// The index of a bucket, or none yet.
//
// Thread safety: Get and Publish may be called by many threads at once, but not beside Drop.
class KeyIndexOwner
{
public:
    KeyIndexOwner() = default;
    KeyIndexOwner(const KeyIndexOwner&) = delete;
    KeyIndexOwner& operator=(const KeyIndexOwner&) = delete;
    ~KeyIndexOwner() { Drop(); }

    // Returns null if there is no index.
    KeyIndex* Get() const { return mIndex.load(std::memory_order_acquire); }

    // Stores the index. Returns it, or the index that another thread has stored before.
    const KeyIndex* Publish(std::unique_ptr<KeyIndex> made);

    void Drop() { delete mIndex.exchange(nullptr, std::memory_order_relaxed); }

private:
    std::atomic<KeyIndex*> mIndex = {nullptr}; // owned
};
} // namespace hollin_private

#endif
