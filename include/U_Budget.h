// Limits, purging and statistics.
//
// All allocations of the process are charged to one figure, the tracked use. Above the
// prepurge limit the library asks the host to free memory. Above the maximum limit the library
// refuses the block. Sizes and figures are in bytes. The application's presumed size is part of
// the tracked use, so limits are set above that size. docs/concepts.md explains the terms.
//
//     U_u64 own = 0;
//     U_PresumedAppSize(&own);
//     U_SetMemUsageLimits(own + (48 << 20), own + (64 << 20));
//     U_SetPurgeRequestCallback(
//         [](void*, U_u64, U_u64 amountToPurge, bool* flag) {
//             *flag = amountToPurge > 0; // a host frees blocks of its caches here
//             return 0;
//         },
//         nullptr);
//
// Thread safety: all functions may be called on any thread between birth and death.
//
// Between threads:
// - Blocks of 2 KiB and more are measured, and so is the 256th smaller block in a row. Other
//   blocks are not compared with the limits.
// - The comparison of a measured block with a limit and the charge for the block are one
//   atomic step. Of two threads that compete for the last room one gets the block; the
//   other makes room or is refused. So measured blocks never take use past the maximum
//   limit, except as listed below.
// - A block that the heap refuses is no longer charged when the library logs the failure, asks
//   the host to purge or calls any other function of the host. A measurement on the allocating
//   thread never includes a block that the thread does not have yet.
// - Use is exact while no other thread is inside the library. While other threads allocate
//   and free, a figure is off by at most 32 KiB for each of them, however many bytes they
//   allocate and free. A block that another thread is about to get may be included, and a
//   recycled block that another thread takes from the pool or returns to the pool may be counted
//   twice.
// - If the pool or use changes while a block is compared, and the block does not fit, the
//   comparison is repeated several times before the block is refused.
// - The recycled pool is read once for each figure, so no figure falls below zero because a
//   block enters or leaves the pool.
//
// Charges that may take use past the maximum limit:
// - a recycled block, which is compared without the recycled pool;
// - any block below the prepurge limit in force, if an override of the maximum is lower than
//   that;
// - the rounding of a recycled block, up to 41 % of the block, or 64 bytes if that is more;
// - a recycled block that another thread takes from the pool and returns during the
//   comparison;
// - a block that the heap refuses at the first attempt and allocates at a later one;
// - blocks that a callback allocates or resizes on the allocating thread;
// - small blocks, blocks during U_DisableProactivePrePurging, and the charges of
//   U_AccountAllocation and its relatives, none of which are compared.
// The memory of U_PurgeLoop and of U_DuplicateHandleToPlatform is not tracked.

#ifndef U_BUDGET_H
#define U_BUDGET_H

#include "U_Types.h"

// Frees about `amountToPurge` bytes of the host's own caches, so that `blockRequest` bytes
// fit.
//
// - Thread: the thread that allocates, with no lock of the library held. Several threads may
//   be in the callback at once.
// - The callback may allocate.
// - While use falls, the library calls the callback again for the bytes that are still
//   missing. One allocation may run several such series of calls.
// - *flag is false at the start of each series. If the callback sets *flag, the library
//   shrinks the recycled pool after a call that did not lower use. For U_CheckRAMPurgeLimit *flag
//   changes nothing. For a recycled block only the series whose `blockRequest` is 1 reads *flag.
//
// Returns: 0, or another value to end the series.
// REQUIRES: throws nothing.
// Failures: U_RegisterHog calls the callback with the table of hogs locked. Inside that call
// the callback must not wait for a thread that registers hogs.
typedef int (*U_PurgeRequestCallback)(void* refcon, U_u64 blockRequest, U_u64 amountToPurge,
                                      bool* flag);

// Sets the callback. U_Death clears the callback, and keeps the limits, their overrides, the
// attention to low memory and the count of U_DisableProactivePrePurging.
//
// Without a callback the library purges only the recycled pool, and only for a recycled block:
// if use with the pool is above the prepurge limit and the pool holds more than the excess, the
// pool is purged by the excess.
//
// Returns: 0.
// REQUIRES: the host sets the callback once, before the allocations that should call it. A
// thread that allocates during a change may call one callback with the refcon of the other.
U_EXPORT U_Status U_SetPurgeRequestCallback(U_PurgeRequestCallback callback, void* refcon);

// Stores the callback and its refcon. Either output may be null.
//
// Returns: 0.
U_EXPORT U_Status U_GetPurgeRequestCallback(U_PurgeRequestCallback* callback, void** refcon);

// Sets the base limits. `maximum` is raised to `prepurge` if it is lower. The prepurge limit
// is kept at least 1 MiB below the maximum, unless the maximum is below 1 MiB. While the
// library pays attention to low memory, the prepurge limit is lowered as described there. A
// prepurge limit of 0 means that no limits are set.
//
// Returns: 0, or the error of the host service; then the old limits stay in force.
// Failures: while the library pays attention to low memory, a measurement on another thread at
// the same moment may restore the old limits. Set limits then while no other thread allocates
// or measures.
U_EXPORT U_Status U_SetMemUsageLimits(U_u64 prepurge, U_u64 maximum);

// Sets overrides of the limits, normalised in the same way. Once base limits are set, each
// override that is lower than its base limit is in force. 0 for both means no override. An
// override of the maximum alone that is lower than the prepurge limit does not refuse blocks
// below the prepurge limit.
//
// Returns: as U_SetMemUsageLimits.
U_EXPORT U_Status U_SetMemUsageLimitsOverride(U_u64 prepurge, U_u64 maximum);

// Stores the limits in force. Before limits are set, these are 70 % and 100 % of the physical
// memory.
//
// Returns: 0, or 3 for a null output.
U_EXPORT U_Status U_GetMemUsageLimits(U_u64* prepurge, U_u64* maximum);

// Stores the application's presumed size, 135 MiB: the application's own code and data, which
// are charged to the tracked use from birth to death. `out` may be null.
//
// Returns: 0.
U_EXPORT U_Status U_PresumedAppSize(U_u64* out);

// The statistics of U_GetMemoryStat.
enum : U_u32
{
    U_MemStat_InUse = 0,             // use: tracked use, recycled pool and external managers
    U_MemStat_InUseLowMemory = 1,    // the same, after a check for low memory
    U_MemStat_RoomToPrepurge = 2,    // left under the prepurge limit, 0 if reached
    U_MemStat_RoomToMaximum = 3,     // left under the maximum limit, 0 if reached
    U_MemStat_LargestBlock = 4,      // the largest block of malloc now, at most 3 GiB
    U_MemStat_RoomForRecycled = 5,   // as 2, with the recycled pool counted as free
    U_MemStat_InUseByLibrary = 6,    // use less the recycled pool and external managers;
                                     // 1 where that would fall below zero
    U_MemStat_InUseWithoutFrames = 7 // as 1, less frame allocations
};

// Stores a statistic, 0 for an unknown one.
//
// Returns: 0, 3 for a null `out`, or the error of the host service; then *out has no meaning.
U_EXPORT U_Status U_GetMemoryStat(U_u32 which, U_u64* out);

// Compares use plus `needed` bytes with the prepurge limit, and purges if the sum is above the
// limit. The recycled pool does not count as use here. *hitLimit, which may be null, is set to
// true if the sum was above the limit on entry; *overLimit is set to true if the sum is still
// above the limit on return.
//
// Returns: 0, 3 for a null `overLimit`, or the error of the host service, also of a measurement
// after a purge. After an error both flags are true, since bytes that cannot be measured do not
// fit.
U_EXPORT U_Status U_CheckRAMPurgeLimit(bool* overLimit, U_u64 needed, bool* hitLimit);

// One attempt at an allocation of the host's own. *okay is false at the start. If the attempt
// succeeds, the procedure sets *okay and returns 0.
typedef int (*U_PurgeLoopProcedure)(void* refcon, bool* okay);

// Runs an allocation of the host's own under the library's budget and retry loop, like a
// block of `size` bytes. `recycled`: the block comes out of the recycled pool. The tracked
// use grows by the bytes that the procedure accounts for, not by `size`.
//
// Returns: the last result of the procedure, 4 if the procedure never ran, or 3 for a null
// procedure.
// Throws: exceptions of the procedure, which end the loop.
U_EXPORT U_Status U_PurgeLoop(U_u64 size, U_PurgeLoopProcedure procedure, void* refcon,
                              bool recycled);

// Both return free memory of the C runtime to the system. One thread compacts at a time.
//
// Return: 0.
U_EXPORT U_Status U_CompactMem();
U_EXPORT U_Status U_PurgeHandlesAndCompact();

// While proactive purging is disabled, no thread's blocks are compared with the limits. The
// calls nest.
//
// Return: 0, or the error of the host service.
// REQUIRES: each Enable undoes an earlier Disable.
U_EXPORT U_Status U_DisableProactivePrePurging();
U_EXPORT U_Status U_EnableProactivePrePurging();

// Disables proactive purging in a scope.
class U_EXPORT U_ScDisableProactivePrePurging
{
public:
    // Disables proactive purging, and ignores an error of the host service.
    U_ScDisableProactivePrePurging();
    ~U_ScDisableProactivePrePurging();
    U_ScDisableProactivePrePurging(const U_ScDisableProactivePrePurging&) = delete;

    // Copies nothing: each object undoes only its own call.
    U_ScDisableProactivePrePurging& operator=(const U_ScDisableProactivePrePurging&);
};

// While the library pays attention to low memory, the prepurge limit is lowered so that the
// fudge buffer of physical memory stays free (debug setting "MemoryFudgeBuffer2", 250 MiB). The
// lowered limit is use plus the free memory less the fudge buffer, and at least 1 byte, since 0
// means that no limits are set. A lowered limit is kept until limits are set again. Limits that
// were never set are not lowered.
U_EXPORT bool U_GetPayAttentionToLowMemory();
U_EXPORT void U_SetPayAttentionToLowMemory(bool pay);

#endif
