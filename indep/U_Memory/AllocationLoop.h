// The loop that every allocation uses, and the report of a failed allocation.

#ifndef INDEP_U_MEMORY_ALLOCATION_LOOP_H
#define INDEP_U_MEMORY_ALLOCATION_LOOP_H

#include <cstring>

#include <tolv/memory.h>

#include "U_Types.h"
#include "indep/U_Memory/Budget.h"
#include "indep/U_Memory/LibraryHeap.h"

// One attempt at an allocation, which returns the first byte of the block, or the handle if the
// request asks for a handle, or null. Refers to a callable, which outlives this object. The
// argument of the callable is the claim for the block, null for a block that is not measured.
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
    bool mRecycled = false; // the block may be taken from the recycled pool
    bool mIsHandle = false; // the attempt returns a handle
};

// Returns the result of an attempt that succeeded, with its block cleared if the request asks for
// that.
inline void* Cleared(void* result, const AllocationRequest& request)
{
    if (request.mClearing == kClear)
        std::memset(request.mIsHandle ? *static_cast<void**>(result) : result, 0,
                    static_cast<std::size_t>(request.mSize));
    return result;
}

void* Up_AllocateMeasured(const AllocationRequest& request, const AllocationAttempt& attempt);
void* Up_RecoverUnmeasured(const AllocationRequest& request, const AllocationAttempt& attempt);

// The rest of Up_AllocateShared for a block that is measured or too large, and for a block that is
// not measured after a failed attempt. Not inlined, and with copies of the arguments, so that the
// request of an attempt that succeeds at once is not stored in memory: most blocks are small, and
// the shared counter's locked step waits for earlier stores.
template <class Callable>
[[gnu::noinline]] void* Up_AllocateSlowly(AllocationRequest request, Callable attempt,
                                          bool isMeasured)
{
    return isMeasured ? Up_AllocateMeasured(request, attempt)
                      : Up_RecoverUnmeasured(request, attempt);
}

// Asks the budget and makes the attempt. After a failure, makes room and repeats the attempt for
// as long as use falls. Returns the attempt's result, with the block cleared if requested, or null
// after a report.
template <class Callable>
inline void* Up_AllocateShared(AllocationRequest request, Callable attempt)
{
    const bool isMeasured = request.mSize > kLargestBlock || Up_IsMeasured(request.mSize);
    if (!isMeasured)
    {
        if (void* const result = attempt(nullptr))
            return Cleared(result, request);
    }
    const AllocationRequest copy = request; // made here, and not in the usual case
    return Up_AllocateSlowly(copy, attempt, isMeasured);
}

// Reports a failed allocation of `size` bytes to the user. `what` names the operation and may be
// null. `possibleFragmentation`: the budget had allowed the block, and the heap refused. Any
// thread may call this; throws nothing. A failure inside the report is logged only.
void Up_ReportAllocFailure(U_u32 location, U_u64 size, const char* what,
                           bool possibleFragmentation);

inline U_u64 Growth(U_u64 oldSize, U_u64 newSize)
{
    return newSize > oldSize ? newSize - oldSize : 0;
}

// Returns whether the origin of the new block, which may be null, is to be stored.
inline bool KeepsOrigin(const void* block)
{
    return MEM_KeepsOrigins.load(std::memory_order_relaxed) && block;
}

// Returns a handle of the library's heap, or null after a report.
inline void** AllocateHandle(U_u32 location, const char* opName, U_u64 size, Clearing clearing,
                             bool isHog = false)
{
    const auto attempt = [=](Claim*) -> void* { return MEM_NewHandle(UHeap(), size); };
    void** const handle = static_cast<void**>(
        Up_AllocateShared({location, opName, size, size, clearing, false, true}, attempt));
    if (KeepsOrigin(handle))
        MEM_SetOrigin(*handle, {opName, location, isHog, false});
    return handle;
}

#endif
