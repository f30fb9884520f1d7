// Finds the block at an address while the heap is watched, and explains an address that is no live
// block.

#include <win32/memory.h>

#include <platform/base/memory_tools.h>

#include "private/checked_blocks.h"

namespace tolv
{
namespace
{
// The slots of checked blocks by the address of the block. Two blocks may have the same entry,
// which then refers to the newer block. The header leads to the slot of the other block.
const std::size_t kEntries = 0x10000;
std::atomic<void**> sIndex[kEntries];

std::atomic<void**>& EntryOf(const void* block)
{
    const std::uintptr_t place = reinterpret_cast<std::uintptr_t>(block) / sizeof(BlockHeader);
    return sIndex[(place ^ place / kEntries) % kEntries];
}

// Returns the record of a slot that is or was a checked handle, null for any other address.
const BlockRecord* RecordOfHandle(void** handle)
{
    return IsSlot(handle) ? RecordOf(handle) : nullptr;
}

bool IsAddressOf(const BlockRecord& record, const void* address)
{
    return BytesOf(record) == address || CallersBytes(record) == address;
}

bool IsNewer(const BlockRecord& one, const BlockRecord& other)
{
    if (one.mState == kLive || other.mState == kLive)
        return one.mState == kLive;
    return one.mFreedBlock.mNumber > other.mFreedBlock.mNumber;
}

// Returns the slot of the last block, live or freed, that had the address. Null if there is none.
void** FindOwner(const void* address)
{
    void** found = nullptr;
    const BlockRecord* newest = nullptr;
    VisitRecords([&](void** slot, const BlockRecord& record) {
        if (!IsAddressOf(record, address) || (newest && !IsNewer(record, *newest)))
            return;
        found = slot;
        newest = &record;
    });
    return found;
}

bool IsAligned(const void* block)
{
    return reinterpret_cast<std::uintptr_t>(block) % alignof(BlockHeader) == 0;
}

bool MayBe(const BlockRecord& record, BlockKind asked)
{
    return record.mState == kLive && asked != kHandle &&
           (record.mKind == kRecycled) == (asked == kRecycled);
}

void ReportAddress(const void* address, BlockKind asked, const BlockRecord* record)
{
    if (!record && asked == kHandle)
        ReportFault("an address that is no live handle was used or freed", address, nullptr);
    else if (!record)
        ReportFault("an address that is no live block was used or freed", address, nullptr);
    else if (record->mState == kLive)
        ReportOtherKind(address, *record);
    else
        ReportFault("a freed block was used, or freed a second time", address, record);
}
} // namespace

void EnterInIndex(void* block, void** slot)
{
    EntryOf(block).store(slot, std::memory_order_release);
}

void** FindLive(void* block)
{
    void** const slot = EntryOf(block).load(std::memory_order_acquire);
    if (slot && LoadAcquire(*slot) == block)
        return slot;
    // The memory before a block that was freed may be unmapped, also after the checks were switched
    // off. A checker of the process reports such a read.
    const bool isOfChecker = platform::MemoryIsWatched() && !ChecksNewBlocks();
    if (!IsAligned(block) ||
        (!isOfChecker && win32::IsBadReadPtr(HeaderOf(block), sizeof(BlockHeader))))
        return nullptr;
    return SlotOfAny(block);
}

void** FindWatched(void* block)
{
    if (!block)
        return nullptr;
    if (platform::MemoryIsWatched() && !ChecksNewBlocks())
        platform::TouchMemory(HeaderOf(block));
    void** const slot = FindLive(block);
    return slot ? slot : Explain(block, kPointer);
}

bool ReportIfOfHeap(void* address)
{
    const bool isOurs = ChecksNewBlocks() && (FindSlab(address) || FindLive(address));
    if (isOurs)
        Explain(address, kHandle);
    return isOurs;
}

void** Explain(void* address, BlockKind asked)
{
    if (!ChecksNewBlocks())
        return nullptr;
    const BlockRecord* const handle = RecordOfHandle(static_cast<void**>(address));
    if (handle && handle->mState != kLive)
        ReportFault("a freed handle was used, or freed a second time", address, handle);
    if (handle && handle->mState == kLive)
        ReportOtherKind(address, *handle);
    if (handle)
        return nullptr;
    void** const slot = FindOwner(address);
    const BlockRecord* const record = slot ? RecordOf(slot) : nullptr;
    if (record && MayBe(*record, asked))
    {
        VerifyBlock(slot);
        return slot;
    }
    ReportAddress(address, asked, record);
    return nullptr;
}
} // namespace tolv
