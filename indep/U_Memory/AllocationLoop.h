// The loop that every allocation runs under.

#ifndef INDEP_U_MEMORY_ALLOCATION_LOOP_H
#define INDEP_U_MEMORY_ALLOCATION_LOOP_H

#include <tolv/memory.h>

#include "U_Types.h"
#include "indep/U_Memory/Memory.h"

// One attempt at an allocation: returns the block's first byte, or null. A
// reference to a callable that outlives it.
class AllocationAttempt
{
public:
    template <class Callable>
    AllocationAttempt(Callable& callable)
        : mCallable(&callable),
          mCall([](void* target) -> void* { return (*static_cast<Callable*>(target))(); })
    {
    }

    AllocationAttempt(const AllocationAttempt&) = delete;
    AllocationAttempt& operator=(const AllocationAttempt&) = delete;

    void* operator()() const { return mCall(mCallable); }

private:
    void* mCallable;
    void* (*mCall)(void*);
};

enum Clearing : bool
{
    kAsIs = false,
    kClear = true
};

struct AllocationRequest
{
    U_u32 mLocation;
    const char* mOpName; // null: a failure isn't told to the user
    U_u64 mSize;         // bytes
    Clearing mClearing;
    bool mRecycled; // the block comes out of the recycled pool
};

// Asks the budget, then attempts, and after a failure makes room and attempts
// again for as long as use falls. Returns the block, cleared if asked for, or
// null after a report.
void* Up_AllocateShared(const AllocationRequest& request, const AllocationAttempt& attempt);

// A handle of the library's heap, null after a report.
inline void** AllocateHandle(U_u32 location, const char* opName, U_u64 size, Clearing clearing)
{
    void** handle = nullptr;
    auto attempt = [&]() -> void* {
        handle = MEM_NewHandle(UHeap(), size);
        return handle ? *handle : nullptr;
    };
    Up_AllocateShared({location, opName, size, clearing, false}, attempt);
    return handle;
}

#endif
