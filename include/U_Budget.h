// Limits, purging and statistics.
//
// All allocations of the process are charged to one figure, the tracked use. Above the
// prepurge limit the library asks the host to free memory; above the maximum limit it
// refuses the block. Sizes and figures are in bytes.
//
//     U_u64 own = 0;
//     U_PresumedAppSize(&own);
//     U_SetMemUsageLimits(own + (48 << 20), own + (64 << 20));
//     U_SetPurgeRequestCallback(&DropOldest, &cache);
//
// Thread safety: all functions may be called on any thread between birth and death.
//
// Between threads:
// - Blocks of 2 KiB and more are measured, and so is the 256th smaller block in a row.
//   Smaller blocks are not compared with the limits.
// - The comparison of a measured block with a limit and the charge for the block are one
//   atomic step. Of two threads that compete for the last room one gets the block; the
//   other makes room or is refused. So measured blocks never take use past the maximum
//   limit. Five kinds of charge are outside this rule: the rounding of a recycled block, up
//   to two fifths of the block; a recycled block that another thread takes from the pool and
//   gives back during the comparison; a block that the heap has refused once and gives at a later
//   attempt; blocks that a callback allocates or resizes on the allocating thread; and the
//   memory of U_PurgeLoop and of U_DuplicateHandleToPlatform, which is not tracked.
// - A block that is refused by the heap is no longer charged when the library logs the
//   failure, asks the host to purge or calls any other function of the host. A measurement
//   on the allocating thread never includes a block that the thread does not have yet.
// - Use is exact while no other thread is inside the library. While other threads allocate
//   and free, a figure is off by at most 32 KiB for each of them, whatever passes through. A
//   block that another thread is about to get may be included, and a recycled block that
//   another thread takes from the pool or gives back may be counted twice.
// - The recycled pool is read once for each figure, so no figure falls below zero because a
//   block enters or leaves the pool.

#ifndef U_BUDGET_H
#define U_BUDGET_H

#include "U_Types.h"

// Frees about `amountToPurge` bytes of the host's own caches, so that `blockRequest` bytes
// fit.
//
// Called on the thread that allocates, with no lock of the library held; several threads
// may be in the callback at once. The callback may allocate. It is called again, for the
// bytes that are still missing, for as long as use falls. One allocation may make room
// several times.
//
// *flag is false at the start of each making of room. If the callback sets it, a round in
// which use does not fall goes on by shrinking the recycled pool. For recycled blocks and
// for U_CheckRAMPurgeLimit the flag changes nothing.
//
// Returns: 0, or another value to end this making of room.
// REQUIRES: throws nothing.
// Failures: U_RegisterHog makes room for its table with the table locked. Inside that call
// the callback must not wait for a thread that registers hogs.
typedef int (*U_PurgeRequestCallback)(void* refcon, U_u64 blockRequest, U_u64 amountToPurge,
                                      bool* flag);

// Sets the callback. U_Death clears the callback; the limits, their overrides, the
// attention to low memory and the count of U_DisableProactivePrePurging stay. Without a
// callback only the recycled pool is purged, for a recycled block, by the bytes that use
// with the pool is above the prepurge limit if the pool holds more than those.
//
// REQUIRES: set once, before the allocations that should call it. A thread that allocates
// during a change may call one callback with the other one's refcon.
// Returns: 0.
U_EXPORT U_Status U_SetPurgeRequestCallback(U_PurgeRequestCallback callback, void* refcon);

// Stores the callback and its refcon; either output may be null. Returns: 0.
U_EXPORT U_Status U_GetPurgeRequestCallback(U_PurgeRequestCallback* callback, void** refcon);

// Sets the base limits. `maximum` is raised to `prepurge` if it is lower. The prepurge limit
// is kept at least 1 MiB below the maximum, unless the maximum is below 1 MiB. While the
// library pays attention to low memory, the prepurge limit is lowered as described there. A
// prepurge limit of 0 means that no limits are set.
//
// Returns: 0, or the error of the host service; then the old limits stay in force.
// Failures: while attention is paid, a measurement on another thread at the same moment may
// put the old limits back. Set limits then while no other thread allocates or measures.
U_EXPORT U_Status U_SetMemUsageLimits(U_u64 prepurge, U_u64 maximum);

// Sets limits, normalised in the same way, that hold wherever they are lower than the base
// limits, once base limits are set. 0 for both is no override. Returns: as above.
U_EXPORT U_Status U_SetMemUsageLimitsOverride(U_u64 prepurge, U_u64 maximum);

// Stores the limits in force. Before any are set: 70 % of the physical memory, and all of
// the physical memory. Returns: 0, 3 for a null output, or the host service's error.
U_EXPORT U_Status U_GetMemUsageLimits(U_u64* prepurge, U_u64* maximum);

// Stores the application's own footprint, which is charged to the tracked use from birth to
// death. `out` may be null. Returns: 0.
U_EXPORT U_Status U_PresumedAppSize(U_u64* out);

// The statistics of U_GetMemoryStat.
enum : U_u32
{
    U_MemStat_InUse = 0,             // use: tracked use, recycled pool and external managers
    U_MemStat_InUseLowMemory = 1,    // the same, after a check for low memory
    U_MemStat_RoomToPrepurge = 2,    // left under the prepurge limit, 0 if reached
    U_MemStat_RoomToMaximum = 3,     // left under the maximum limit, 0 if reached
    U_MemStat_LargestBlock = 4,      // what malloc can give in one piece, at most 3 GiB
    U_MemStat_RoomForRecycled = 5,   // as 2, with the recycled pool counted as free
    U_MemStat_InUseByLibrary = 6,    // use less the recycled pool and external managers;
                                     // 1 where that would fall below zero
    U_MemStat_InUseWithoutFrames = 7 // as 1, less frame allocations
};

// Stores a statistic; an unknown one gives 0. Returns: 0, 3 for a null `out`, or the host
// service's error; then *out has no meaning.
U_EXPORT U_Status U_GetMemoryStat(U_u32 which, U_u64* out);

// Checks whether `needed` bytes more would pass the prepurge limit, and purges to make them
// fit. The recycled pool is not use here. Stores in *hitLimit, which may be null, whether
// the limit had been reached on entry, and in *overLimit whether it still is.
//
// Returns: 0, 3 for a null overLimit, or the host service's error, also one of a later
// round; then both are true, since bytes that cannot be measured do not fit.
U_EXPORT U_Status U_CheckRAMPurgeLimit(bool* overLimit, U_u64 needed, bool* hitLimit);

// One attempt at an allocation of the host's own. *okay is false at the start; the procedure
// sets *okay and returns 0 if the attempt succeeded.
typedef int (*U_PurgeLoopProcedure)(void* refcon, bool* okay);

// Runs an allocation of the host's own under the library's budget and retry loop, like a
// block of `size` bytes. `recycled`: the block comes out of the recycled pool. The tracked
// use grows by what the procedure accounts for, not by `size`.
//
// Returns: the procedure's last result, 4 if it never ran, or 3 for a null procedure.
// Throws: what the procedure throws; that ends the loop.
U_EXPORT U_Status U_PurgeLoop(U_u64 size, U_PurgeLoopProcedure procedure, void* refcon,
                              bool recycled);

// Both give the runtime's free memory back to the system. One thread compacts at a time.
// Return: 0.
U_EXPORT U_Status U_CompactMem();
U_EXPORT U_Status U_PurgeHandlesAndCompact();

// While proactive purging is disabled, blocks are not measured against the limits. The calls
// nest. Return: 0, or the host service's error.
// REQUIRES: each Enable undoes an earlier Disable.
U_EXPORT U_Status U_DisableProactivePrePurging();
U_EXPORT U_Status U_EnableProactivePrePurging();

// Disables proactive purging in a scope.
class U_EXPORT U_ScDisableProactivePrePurging
{
public:
    U_ScDisableProactivePrePurging();
    ~U_ScDisableProactivePrePurging();
    U_ScDisableProactivePrePurging(const U_ScDisableProactivePrePurging&) = delete;

    // Copies nothing: each object undoes just its own.
    U_ScDisableProactivePrePurging& operator=(const U_ScDisableProactivePrePurging&);
};

// While the library pays attention to low memory, the prepurge limit is kept low enough to
// leave the fudge buffer of physical memory free (debug setting "MemoryFudgeBuffer2",
// 250 MiB). A prepurge limit that was lowered stays lowered until limits are set again. The
// lowered limit is use plus the free memory less the fudge buffer, and at least 1 byte,
// since 0 means never set. Limits that were never set stay so.
U_EXPORT bool U_GetPayAttentionToLowMemory();
U_EXPORT void U_SetPayAttentionToLowMemory(bool pay);

#endif
