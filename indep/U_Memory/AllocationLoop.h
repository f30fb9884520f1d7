// The loop that every allocation runs under.

#ifndef INDEP_U_MEMORY_ALLOCATION_LOOP_H
#define INDEP_U_MEMORY_ALLOCATION_LOOP_H

#include <tolv/memory.h>

#include "U_Types.h"
#include "indep/U_Memory/Budget.h"
#include "indep/U_Memory/Memory.h"

// One attempt at an allocation: returns the block's first byte, or null. A
// reference to a callable that outlives it. The callable gets the claim for the block, null
// for a block without one.
class AllocationAttempt
{
public:
    template <class Callable>
    AllocationAttempt(Callable& callable)
        : mCallable(&callable), mCall([](void* target, Claim* claim) -> void* {
              return (*static_cast<Callable*>(target))(claim);
          })
    {
    }

    AllocationAttempt(const AllocationAttempt&) = delete;
    AllocationAttempt& operator=(const AllocationAttempt&) = delete;

    void* operator()(Claim* claim) const { return mCall(mCallable, claim); }

private:
    void* mCallable;
    void* (*mCall)(void*, Claim*);
};

enum Clearing : bool
{
    kAsIs = false,
    kClear = true
};

struct AllocationRequest
{
    U_u32 mLocation;
    const char* mOpName; // null: a failure is not reported to the user
    U_u64 mSize;         // bytes
    U_u64 mGrowth;       // bytes by which an attempt that succeeds raises the tracked use
    Clearing mClearing;
    bool mRecycled; // the block comes out of the recycled pool
};

// Asks the budget and tries the attempt. After a failure, makes room and tries again for as
// long as use falls. Returns the block, cleared if requested, or null after a report.
void* Up_AllocateShared(const AllocationRequest& request, const AllocationAttempt& attempt);

// The growth of a block that is resized, 0 for a block that shrinks.
inline U_u64 Growth(U_u64 oldSize, U_u64 newSize)
{
    return newSize > oldSize ? newSize - oldSize : 0;
}

// Returns a handle of the library's heap, or null after a report.
inline void** AllocateHandle(U_u32 location, const char* opName, U_u64 size, Clearing clearing)
{
    void** handle = nullptr;
    auto attempt = [&](Claim*) -> void* {
        handle = MEM_NewHandle(UHeap(), size);
        return handle ? *handle : nullptr;
    };
    Up_AllocateShared({location, opName, size, size, clearing, false}, attempt);
    return handle;
}

#endif
