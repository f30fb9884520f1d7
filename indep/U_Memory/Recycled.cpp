// Recycled pointers and the pool behind them.

#include "U_Alloc.h"

#include <krobase/recycled_memory.h>

#include "indep/U_Memory/AllocationLoop.h"
#include "indep/U_Memory/Memory.h"
#include "indep/frame/Guard.h"

using krobase::utility::MemoryRecycler;
using krobase::utility::RecycledMemory;

namespace
{
// Stands in front of the caller's bytes.
struct RecycledHeader
{
    U_u32 mMark; // for people who read a dump
    RecycledMemory* mOwner;
};
static_assert(sizeof(RecycledHeader) == 16, "the caller's bytes keep the block's alignment");

const U_u32 kMark = 0xBEEFBEEF;
const U_u32 kHeaderBytes = sizeof(RecycledHeader);

// Charges a block, or takes it off again. The 16 bytes on top of a block that
// holds the header already are charged and taken off alike.
void Account(U_i32 delta)
{
    Up_AddFrameAllocation(delta);
    MEM_AccountAllocation(delta);
}

U_i32 ChargeOf(const RecycledMemory& memory)
{
    return static_cast<U_i32>(static_cast<U_u32>(memory.mBlockSize) + kHeaderBytes);
}

void* NewRecycled(U_u64 size)
{
    RecycledMemory* memory = nullptr;
    const U_Status failure = Guarded([&] {
        memory = new RecycledMemory(0);
        memory->Allocate(static_cast<U_i32>(static_cast<U_u32>(size) + kHeaderBytes));
    });
    if (failure || !memory || !memory->mBlock)
    {
        delete memory;
        return nullptr;
    }
    Account(ChargeOf(*memory));
    RecycledHeader* header = static_cast<RecycledHeader*>(memory->mBlock);
    header->mMark = kMark;
    header->mOwner = memory;
    return header + 1;
}
} // namespace

void* U_AllocateRecycledPtr(U_u32 location, const char* opName, U_u64 size)
{
    auto attempt = [=] { return NewRecycled(size); };
    return Up_AllocateShared({location, opName, size, kAsIs, true}, attempt);
}

U_Status U_FreeRecycledPtr(void* pointer)
{
    if (!pointer)
        return 0;
    RecycledMemory* memory = (static_cast<RecycledHeader*>(pointer) - 1)->mOwner;
    Account(-ChargeOf(*memory));
    delete memory;
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
