// An index of the keys of one bucket, so that a look-up takes the same time in a bucket of any
// size. The index is made at the first look-up in the bucket, and is no part of a file.

#ifndef HOLLIN_PRIVATE_KEY_INDEX_H
#define HOLLIN_PRIVATE_KEY_INDEX_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "hollin/Limits.h"
#include "hollin_private/ByteRun.h"

namespace hollin_private
{
// A hash table with open addressing, from the hash of a whole key to identifiers. Of equal keys
// the one that was inserted first is found first.
//
// Thread safety: IsMade, Find and Make may be called by many threads at once, but not beside
// Insert and Drop.
class KeyIndex
{
public:
    KeyIndex() = default;
    KeyIndex(const KeyIndex&) = delete;
    KeyIndex& operator=(const KeyIndex&) = delete;
    ~KeyIndex() { Drop(); }

    // The hash of all bytes of a key.
    static std::uint32_t Hash(const ByteRun& key);

    bool IsMade() const { return mEntries.load(std::memory_order_acquire) != nullptr; }

    // Makes the table of the identifiers, with room for half as many again. keyOf(id) returns the
    // key of an identifier. A table that another thread has made meanwhile is kept. Returns false
    // without memory.
    //
    // REQUIRES: all calls before an Insert or Drop have the same identifiers.
    template <class KeyOf>
    bool Make(const std::uint32_t* ids, std::size_t count, const KeyOf& keyOf);

    // Returns the first identifier with the hash for which hasKey(id) holds, or hollin::kNoId.
    //
    // REQUIRES: IsMade().
    template <class HasKey> std::uint32_t Find(std::uint32_t hash, const HasKey& hasKey) const;

    // Inserts an identifier if there is a table. A full table is dropped, and the next Make makes
    // a larger one.
    void Insert(const ByteRun& key, std::uint32_t id);

    void Drop() { delete[] mEntries.exchange(nullptr, std::memory_order_relaxed); }

private:
    struct Entry
    {
        std::uint32_t mHash = 0;
        std::uint32_t mId = hollin::kNoId; // kNoId in an empty entry
    };

    // Returns the number of entries for the identifiers, a power of two. At most half are used.
    static std::size_t SizeFor(std::size_t count);
    static void InsertIn(Entry* entries, std::size_t mask, std::uint32_t hash, std::uint32_t id);

    std::atomic<Entry*> mEntries = {nullptr}; // owned
    // Beside the pointer, and not in front of the entries: Find waits for one line less. Threads
    // that make the table at once store the same values.
    std::atomic<std::size_t> mMask = {0}; // the number of entries, less one
    std::atomic<std::size_t> mUsed = {0};
};

template <class KeyOf>
bool KeyIndex::Make(const std::uint32_t* ids, std::size_t count, const KeyOf& keyOf)
{
    const std::size_t size = SizeFor(count);
    std::unique_ptr<Entry[]> made(new (std::nothrow) Entry[size]);
    if (!made)
        return false;
    for (std::size_t i = 0; i < count; ++i)
        InsertIn(made.get(), size - 1, Hash(keyOf(ids[i])), ids[i]);
    mMask.store(size - 1, std::memory_order_relaxed);
    mUsed.store(count, std::memory_order_relaxed);
    Entry* stored = nullptr;
    if (mEntries.compare_exchange_strong(stored, made.get(), std::memory_order_acq_rel))
        made.release();
    return true;
}

template <class HasKey> std::uint32_t KeyIndex::Find(std::uint32_t hash, const HasKey& hasKey) const
{
    const Entry* const entries = mEntries.load(std::memory_order_acquire);
    const std::size_t mask = mMask.load(std::memory_order_relaxed);
    for (std::size_t i = hash & mask; entries[i].mId != hollin::kNoId; i = (i + 1) & mask)
    {
        if (entries[i].mHash == hash && hasKey(entries[i].mId))
            return entries[i].mId;
    }
    return hollin::kNoId;
}
} // namespace hollin_private

#endif
