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
// A key of the store and its value, as their owner keeps them.
struct KeyAndValue
{
    ByteRun mKey;
    ByteRun mValue;
};

// A hash table with open addressing, from the hash of a whole key to identifiers, keys and values.
// Of equal keys the one that was inserted first is found first. Empty keys are not found.
//
// An entry has the addresses of its key and value: a look-up waits for the entry, and then for both
// at once. With the four tables of the store between, 100,000 keys take 1.1 times as long, and
// 500,000 keys 1.2 to 1.4 times.
//
// boost::unordered_flat_map is not used, since its metadata lie in an array of their own: by this
// layout each look-up would wait for one cache line more, which was not measured. When Find came to
// wait for one line less, look-ups among 20,000 to 500,000 keys took 0.64 to 0.79 of the time.
//
// Thread safety: IsMade, Find and Make may be called by many threads at once, but not beside
// Insert, Change and Drop.
class KeyIndex
{
public:
    struct alignas(32) Entry // two in a cache line
    {
        ByteRun Value() const { return ByteRun{mValue, mValueLength}; }

        std::uint32_t mHash = 0;
        std::uint32_t mId = hollin::kNoId; // kNoId in an empty entry
        const unsigned char* mKey = nullptr;
        const unsigned char* mValue = nullptr;
        std::uint16_t mKeyLength = 0; // in bytes, as mValueLength
        std::uint16_t mValueLength = 0;
    };

    KeyIndex() = default;
    KeyIndex(const KeyIndex&) = delete;
    KeyIndex& operator=(const KeyIndex&) = delete;
    ~KeyIndex() { Drop(); }

    bool IsMade() const { return mEntries.load(std::memory_order_acquire) != nullptr; }

    // Makes the table of the identifiers, with room for a third more. runsOf(id) returns the
    // KeyAndValue of an identifier. A table that another thread has made meanwhile is kept.
    // Returns false without memory.
    //
    // REQUIRES: all calls before an Insert or Drop have the same identifiers.
    template <class RunsOf>
    bool Make(const std::uint32_t* ids, std::size_t count, const RunsOf& runsOf);

    // Returns the first entry with the key, or null.
    //
    // REQUIRES: IsMade(), and the key is not empty.
    const Entry* Find(const ByteRun& key) const;

    // Inserts an identifier if there is a table. A full table is dropped, and the next Make makes
    // a larger one.
    void Insert(std::uint32_t id, const KeyAndValue& runs);

    // If there is a table, changes the runs in each entry of the identifier, which may have been
    // inserted more than once. `key` is the key before the change.
    void Change(const ByteRun& key, std::uint32_t id, const KeyAndValue& runs);

    void Drop() { delete[] mEntries.exchange(nullptr, std::memory_order_relaxed); }

private:
    // Returns the number of entries for the identifiers.
    static std::size_t SizeFor(std::size_t count);
    static void InsertIn(Entry* entries, std::size_t size, std::uint32_t id,
                         const KeyAndValue& runs);

    std::atomic<Entry*> mEntries = {nullptr}; // owned
    // Beside the pointer, and not in front of the entries: Find waits for one line less. Threads
    // that make the table at once store the same values.
    std::atomic<std::size_t> mSize = {0}; // the number of entries
    std::atomic<std::size_t> mUsed = {0};
};

template <class RunsOf>
bool KeyIndex::Make(const std::uint32_t* ids, std::size_t count, const RunsOf& runsOf)
{
    const std::size_t size = SizeFor(count);
    std::unique_ptr<Entry[]> made(new (std::nothrow) Entry[size]);
    if (!made)
        return false;
    for (std::size_t i = 0; i < count; ++i)
        InsertIn(made.get(), size, ids[i], runsOf(ids[i]));
    mSize.store(size, std::memory_order_relaxed);
    mUsed.store(count, std::memory_order_relaxed);
    Entry* stored = nullptr;
    if (mEntries.compare_exchange_strong(stored, made.get(), std::memory_order_acq_rel))
        made.release();
    return true;
}
} // namespace hollin_private

#endif
