// An index of the keys of one bucket, so that a look-up takes the same time in a bucket of any
// size. The index is made at the first look-up in the bucket, and is no part of a file.

#ifndef HOLLIN_PRIVATE_KEY_INDEX_H
#define HOLLIN_PRIVATE_KEY_INDEX_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <string_view>

#include <boost/unordered/unordered_flat_map.hpp>

#include "hollin_private/ByteRun.h"

namespace hollin_private
{
// A key of the store and its value, as their owner keeps them.
struct KeyAndValue
{
    ByteRun mKey;
    ByteRun mValue;
};

// A hash table from keys to identifiers and values. Of equal keys the table has the one that was
// inserted first. The table has no empty key.
//
// The table refers to the keys, whose bytes the store keeps, also those of removed entries.
//
// An entry has the addresses of its key and value, so that a look-up waits for both at once. The
// map is a member of the bucket: with a map on the heap, look-ups took up to 1.4 times as long as
// with a table of our own, and with the member 0.9 to 1.2 times (bench/NOTES.md, "The index of
// keys").
//
// Thread safety: IsMade, Find and Make may be called by many threads at once, but not beside
// Insert and Change.
class KeyIndex
{
public:
    struct Entry
    {
        ByteRun Value() const { return ByteRun{mValue, mValueLength}; }

        const unsigned char* mValue;
        std::uint32_t mValueLength; // in bytes
        std::uint32_t mId;
    };

    KeyIndex() = default;
    KeyIndex(const KeyIndex&) = delete;
    KeyIndex& operator=(const KeyIndex&) = delete;

    bool IsMade() const { return mState.load(std::memory_order_acquire) == State::kMade; }

    // Makes the table of the identifiers. runsOf(id) returns the KeyAndValue of an identifier.
    // Returns false without memory, and while another thread makes the table.
    template <class RunsOf>
    bool Make(const std::uint32_t* ids, std::size_t count, const RunsOf& runsOf);

    // Returns the entry of the key, or null.
    //
    // REQUIRES: IsMade(), and the key is not empty.
    const Entry* Find(const ByteRun& key) const;

    // Inserts an identifier if there is a table. Without memory the table is dropped.
    void Insert(std::uint32_t id, const KeyAndValue& runs);

    // If there is a table, changes the value of the identifier, or removes the identifier if `runs`
    // has no key. `key` is the key before the change.
    void Change(const ByteRun& key, std::uint32_t id, const KeyAndValue& runs);

private:
    struct Hash
    {
        typedef void is_avalanching; // all bits of the hash depend on all bytes

        std::size_t operator()(const ByteRun& key) const
        {
            return std::hash<std::string_view>()(ViewOf(key));
        }
    };
    typedef boost::unordered_flat_map<ByteRun, Entry, Hash> Entries;

    enum class State : unsigned char
    {
        kNone,
        kBeingMade, // by one thread, which alone uses the other fields
        kMade
    };

    void InsertFirst(std::uint32_t id, const KeyAndValue& runs);
    void Drop();

    Entries mEntries;
    bool mHasEqualKeys = false; // an identifier was not inserted, since its key was there
    std::atomic<State> mState = {State::kNone};
};

template <class RunsOf>
bool KeyIndex::Make(const std::uint32_t* ids, std::size_t count, const RunsOf& runsOf)
{
    State state = State::kNone;
    if (!mState.compare_exchange_strong(state, State::kBeingMade, std::memory_order_acquire))
        return state == State::kMade;
    try
    {
        mEntries.reserve(count);
        for (std::size_t i = 0; i < count; ++i)
            InsertFirst(ids[i], runsOf(ids[i]));
    }
    catch (const std::bad_alloc&)
    {
        Drop();
        return false;
    }
    mState.store(State::kMade, std::memory_order_release);
    return true;
}
} // namespace hollin_private

#endif
