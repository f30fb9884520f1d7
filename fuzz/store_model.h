// A model of a flat store.

#ifndef FUZZ_STORE_MODEL_H
#define FUZZ_STORE_MODEL_H

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <hollin/Dictionary.h>

using hollin::kNoId;
typedef std::u16string Text;

const std::size_t kRunTimeBlock = 100;      // entries
const std::size_t kLongestMergedKey = 1023; // a longer key of a file is never that of an entry

// A flat store: a slot for each identifier, and the comments of each block of slots.
class Store
{
public:
    struct Slot
    {
        std::string mKey; // empty in a block without keys
        Text mText;
        bool mIsLive = true;
    };

    struct Block
    {
        std::size_t mFirst;
        std::size_t mEnd;
        std::map<std::size_t, Text> mComments;
    };

    std::size_t Size() const { return mSlots.size(); }
    const Slot* At(std::size_t id) const
    {
        return id < Size() && mSlots[id].mIsLive ? &mSlots[id] : nullptr;
    }

    std::uint32_t Find(const std::string& key) const
    {
        for (std::uint32_t id = 0; id < Size(); ++id)
            if (mSlots[id].mIsLive && mSlots[id].mKey == key)
                return id;
        return kNoId;
    }

    // A lone comment is that of all slots of its block.
    Text CommentOf(std::size_t id) const
    {
        for (const Block& block : mBlocks)
        {
            if (id < block.mFirst || id >= block.mEnd)
                continue;
            const auto found =
                block.mComments.size() == 1 ? block.mComments.begin() : block.mComments.find(id);
            return found == block.mComments.end() ? Text() : found->second;
        }
        return Text();
    }

    // Adds an entry of a new key.
    std::uint32_t Add(const std::string& key, const Text& text)
    {
        if (!mHasRoom)
            mBlocks.push_back({Size(), Size(), {}});
        mSlots.push_back({key, text, true});
        mBlocks.back().mEnd = Size();
        mHasRoom = Size() - mBlocks.back().mFirst < kRunTimeBlock;
        return static_cast<std::uint32_t>(Size() - 1);
    }

    std::uint32_t Set(const std::string& key, const Text& text, const Text* comment)
    {
        std::uint32_t id = Find(key);
        if (id == kNoId)
            id = Add(key, text);
        mSlots[id].mText = text;
        for (Block& block : mBlocks)
        {
            if (comment && id >= block.mFirst && id < block.mEnd)
                block.mComments[id] = *comment;
        }
        return id;
    }

    std::uint32_t Remove(const std::string& key)
    {
        const std::uint32_t id = Find(key);
        if (id == kNoId)
            return id;
        mSlots[id] = {{}, {}, false};
        for (Block& block : mBlocks)
        {
            if (block.mComments.count(id))
                block.mComments[id].clear();
        }
        return id;
    }

    // Loads an image of `file`. Returns false if its base is that of another store.
    bool Load(const Store& file, bool isKeyed, std::size_t base)
    {
        const std::size_t existing = Size();
        if (base && existing && base != existing)
            return false;
        std::vector<Slot> added = file.mSlots;
        bool hasLive = false;
        for (Slot& slot : added)
        {
            if (!isKeyed)
            {
                hasLive |= slot.mIsLive;
                slot = {{}, slot.mText, true};
                continue;
            }
            const bool mayMerge = existing && !base && slot.mKey.size() <= kLongestMergedKey;
            const std::uint32_t old = mayMerge && !slot.mKey.empty() ? Find(slot.mKey) : kNoId;
            if (old != kNoId)
                mSlots[old].mText = slot.mText;
            if (old != kNoId || slot.mKey.empty()) // also a slot of a block without keys
                slot = {{}, {}, false};
            hasLive |= slot.mIsLive;
        }
        if (!hasLive)
            return true;
        mSlots.insert(mSlots.end(), added.begin(), added.end());
        mBlocks.push_back({existing, Size(), {}});
        mHasRoom = false;
        for (const Block& block : file.mBlocks)
        {
            for (const auto& [id, comment] : block.mComments)
            {
                if (!comment.empty())
                    mBlocks.back().mComments[existing + id] = comment;
            }
        }
        return true;
    }

    bool HasKeyedBlock() const
    {
        for (const Slot& slot : mSlots)
        {
            if (!slot.mIsLive || !slot.mKey.empty())
                return true;
        }
        return false;
    }

private:
    std::vector<Slot> mSlots;
    std::vector<Block> mBlocks;
    bool mHasRoom = false; // in the last block, which is one of entries that were set
};

#endif
