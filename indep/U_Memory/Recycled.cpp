// Recycled pointers and their pool.

#include "U_Alloc.h"

#include <krobase/recycled_memory.h>
#include <platform/base/memory_tools.h>
#include <platform/base/quiet_new.h>
#include <platform/base/rethrow.h>

#include "indep/U_Memory/AllocationLoop.h"
#include "indep/U_Memory/LibraryHeap.h"
#include "indep/frame/Guard.h"

using krobase::utility::MemoryRecycler;
using krobase::utility::RecycledMemory;

namespace
{
// The bytes before the caller's bytes.
struct RecycledHeader
{
    U_u32 mMark; // for readers of a memory dump
    RecycledMemory* mOwner;
};
static_assert(sizeof(RecycledHeader) == 16, "the caller's bytes keep the block's alignment");

const U_u32 kMark = 0xBEEFBEEF;
const U_u32 kHeaderBytes = sizeof(RecycledHeader);
const std::size_t kOwnerBytes = sizeof(void*); // of mOwner

// The bytes of the header are charged twice: inside the size of the block and in addition to it.
U_i32 ChargeOf(std::size_t blockSize)
{
    return static_cast<U_i32>(static_cast<U_u32>(blockSize) + kHeaderBytes);
}

// Hides the owner in the header and the spare bytes at the end of the block from a checker of the
// process. The mark remains visible, for TouchMemory. The checked heap hides the owner itself, and
// its blocks have no spare bytes.
void HideBounds(const RecycledHeader* header, U_u64 size)
{
    if (!platform::MemoryIsWatched() || MEM_KeepsOrigins)
        return;
    const U_u64 spare = header->mOwner->mBlockSize - kHeaderBytes - size;
    platform::HideMemory(reinterpret_cast<const char*>(header + 1) + size, spare);
    platform::HideMemory(&header->mOwner, kOwnerBytes);
}

// Reveals the owner. The checker of the process reports a block that was freed before.
void RevealOwner(const RecycledHeader* header)
{
    if (!platform::MemoryIsWatched())
        return;
    platform::TouchMemory(header);
    platform::RevealMemory(&header->mOwner, kOwnerBytes);
}

void* NewRecycled(U_u64 size, Claim* claim)
{
    RecycledMemory* memory = nullptr;
    const U_Status failure = Guarded([&] {
        try
        {
            const platform::ScQuietNew quiet; // the new handler would show an alert
            memory = new RecycledMemory(0);
            memory->Allocate(static_cast<U_i32>(static_cast<U_u32>(size) + kHeaderBytes),
                             [](std::size_t blockSize) { MEM_AccountFrames(ChargeOf(blockSize)); });
        }
        catch (...)
        {
            if (claim)
                claim->End(); // before an exception translator or a callback of the host runs
            platform::Rethrow();
        }
    });
    if (failure || !memory || !memory->mBlock)
    {
        delete memory;
        return nullptr;
    }
    RecycledHeader* header = static_cast<RecycledHeader*>(memory->mBlock);
    header->mMark = kMark;
    header->mOwner = memory;
    HideBounds(header, size);
    return header + 1;
}
} // namespace

void* U_AllocateRecycledPtr(U_u32 location, const char* opName, U_u64 size)
{
    const auto attempt = [=](Claim* claim) { return NewRecycled(size, claim); };
    // Without the rounding of the block, which is known only with the block.
    const U_u64 growth = size + U_u64(2) * kHeaderBytes;
    void* const data = Up_AllocateShared({location, opName, size, growth, kAsIs, true}, attempt);
    if (KeepsOrigin(data))
        MEM_SetOrigin(static_cast<RecycledHeader*>(data) - 1, {opName, location, false, true});
    return data;
}

// The block enters the pool before its charge is taken off. Otherwise a claim of another thread
// could find the block in neither figure.
U_Status U_FreeRecycledPtr(void* pointer)
{
    if (!pointer)
        return 0;
    RecycledHeader* const header = static_cast<RecycledHeader*>(pointer) - 1;
    if (MEM_KeepsOrigins && !MEM_CheckRecycled(header, kMark))
        return 0;
    RevealOwner(header);
    RecycledMemory* memory = header->mOwner;
    const U_i32 charge = ChargeOf(memory->mBlockSize);
    delete memory;
    MEM_AccountFrames(-charge);
    return 0;
}

void* U_GetRecycledPtrBaseAddress(void* pointer)
{
    return pointer;
}

U_u64 U_GetRecycledMemorySize()
{
    U_u64 size = 0;
    Guarded([&] { size = MemoryRecycler::GetCurrentPoolSize(); });
    return size;
}

U_u64 U_PurgeRecycledMemory(U_u64 bytes)
{
    U_u64 purged = 0;
    Guarded([&] { purged = MemoryRecycler::PurgeBytes(bytes); });
    return purged;
}
