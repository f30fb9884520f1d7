// The entries of files by key and by identifier, with all keys and all texts in one piece of
// memory each. Half a million entries take about 75 MB.
//
// An identifier is the number of a slot. A removed slot keeps its identifier, and has an empty
// key. The slots of an image are listed in its buckets: a look-up of a key finds the first slot
// of the key's bucket that has the key.

#ifndef ZDICT_IMAGES_ENTRY_TABLE_H
#define ZDICT_IMAGES_ENTRY_TABLE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <boost/unordered/unordered_flat_set.hpp>

#include <hollin/ImageView.h>
#include <hollin/ZString.h>

typedef std::vector<std::uint16_t> Units;
typedef std::basic_string_view<std::uint16_t> UnitView;

inline UnitView ViewOf(const hollin::ZString& text)
{
    return UnitView(text.Data(), text.Length());
}

inline UnitView ViewOf(const Units& text)
{
    return UnitView(text.data(), text.size());
}

inline hollin::ZString ToZString(UnitView text)
{
    return hollin::ZString(text.data(), static_cast<std::uint32_t>(text.size()));
}

// Throws: std::bad_alloc, also if all keys or all texts reach 4 Gi units.
class EntryTable
{
public:
    EntryTable();
    EntryTable(const EntryTable&) = delete;
    EntryTable& operator=(const EntryTable&) = delete;

    // Makes room, so that adding moves nothing.
    void Reserve(std::size_t slots, std::size_t keyBytes, std::size_t units);

    std::uint32_t Slots() const { return static_cast<std::uint32_t>(mSlots.size()); }
    bool IsLive(std::uint32_t id) const { return mSlots[id].mKey.mLength != 0; }

    // Return views that are valid until the table changes.
    //
    // REQUIRES: id < Slots().
    std::string_view Key(std::uint32_t id) const;
    UnitView Text(std::uint32_t id) const { return UnitsOf(mSlots[id].mText); }
    UnitView Comment(std::uint32_t id) const { return UnitsOf(mSlots[id].mComment); }

    // Returns the identifier that a look-up of the key finds, or hollin::kNoId.
    std::uint32_t Find(std::string_view key) const;

    // Returns the identifiers of all keys, each once, in ascending order. Of a key that no look-up
    // finds, the first slot counts.
    std::vector<std::uint32_t> Entries() const;

    // Returns the identifier that a look-up of the key finds. If there is none, adds an entry
    // without text in the next slot, and in the bucket of its key.
    //
    // REQUIRES: the key isn't empty.
    std::uint32_t FindOrAdd(std::string_view key);

    // Adds a slot that is in no bucket. An empty key makes a removed slot.
    std::uint32_t AddSlot(std::string_view key);

    // Adds a slot at the end of a bucket, where a look-up finds it if the bucket is that of its
    // key and no earlier slot of the bucket has the key.
    void AddToBucket(std::uint32_t bucket, std::uint32_t id);

    const std::vector<std::uint32_t>& Bucket(std::uint32_t bucket) const
    {
        return mBuckets[bucket];
    }

    void SetText(std::uint32_t id, UnitView text) { Store(text, &mSlots[id].mText); }
    void SetComment(std::uint32_t id, UnitView comment) { Store(comment, &mSlots[id].mComment); }

    // Removes the entry with all other entries of its key in the key's bucket, so that no
    // look-up finds the key.
    void Remove(std::string_view key);

private:
    struct Run
    {
        std::uint32_t mOffset = 0;
        std::uint32_t mLength = 0;
    };

    struct Slot
    {
        Run mKey;
        Run mText;
        Run mComment;
    };

    // Of keys, and of identifiers by their keys.
    struct Hash
    {
        typedef void is_transparent;
        typedef void is_avalanching;
        const EntryTable* mTable;

        std::size_t operator()(std::string_view key) const
        {
            return std::hash<std::string_view>()(key);
        }
        std::size_t operator()(std::uint32_t id) const { return operator()(mTable->Key(id)); }
    };

    struct Equal
    {
        typedef void is_transparent;
        const EntryTable* mTable;

        std::string_view KeyOf(std::uint32_t id) const { return mTable->Key(id); }
        static std::string_view KeyOf(std::string_view key) { return key; }

        template <class Left, class Right>
        bool operator()(const Left& left, const Right& right) const
        {
            return KeyOf(left) == KeyOf(right);
        }
    };

    UnitView UnitsOf(const Run& run) const
    {
        return UnitView(mUnits.data() + run.mOffset, run.mLength);
    }
    void Store(UnitView text, Run* run);

    std::vector<Slot> mSlots;
    std::string mKeys;
    Units mUnits; // of texts and comments
    std::array<std::vector<std::uint32_t>, hollin::kBucketCount> mBuckets;
    boost::unordered_flat_set<std::uint32_t, Hash, Equal> mIndex; // of what look-ups find
};

#endif
