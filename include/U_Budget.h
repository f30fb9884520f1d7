// Limits, purging and statistics.
//
// Every allocation runs under two limits on the process's tracked use. Above
// the prepurge limit the host is asked to give memory back; above the maximum
// limit a block is refused. Of blocks below 2 KiB up to 255 in a row go unmeasured. All operations
// may be called on any thread. Sizes and figures are in bytes.

#ifndef U_BUDGET_H
#define U_BUDGET_H

#include "U_Types.h"

// Asks the host to give back about amountToPurge bytes of what it holds, so that
// blockRequest bytes fit. It is asked again, for what is left, for as long as use
// falls. Runs on the thread that needs the memory, with no lock held, so it may be
// entered by several threads at once and may allocate. The exception is room for one
// more hog (U_RegisterHog): it is made with the table of hogs locked for other threads,
// so the callback must not wait then for one that registers or asks for hogs or, since
// memory is short, makes, resizes or frees hog handles. Set *flag to let a stalled round
// go on by shrinking the recycled pool; it starts false and stays as set. A non-zero
// result ends this making of room, all rounds of it. One allocation may make room several
// times, each with the flag false again; for recycled blocks and U_CheckRAMPurgeLimit the
// flag changes nothing. It throws nothing.
typedef int (*U_PurgeRequestCallback)(void* refcon, U_u64 blockRequest, U_u64 amountToPurge,
                                      bool* flag);

// Set the callback once, before the allocations that should trigger it: one that is
// changed while other threads allocate may be called by them with the other's refcon.
// Without one nothing is purged but the recycled pool, for a recycled block, by what
// stands above the prepurge limit if the pool holds more than that. U_Death clears it; the limits,
// their overrides, the attention to low memory and the count of U_DisableProactivePrePurging stay.
// Either output may be null. Always 0.
U_EXPORT U_Status U_SetPurgeRequestCallback(U_PurgeRequestCallback callback, void* refcon);
U_EXPORT U_Status U_GetPurgeRequestCallback(U_PurgeRequestCallback* callback, void** refcon);

// Sets the base limits. The maximum becomes the larger of the two and the
// prepurge limit stays at least 1 MiB below it, unless the maximum is smaller
// than that; it goes lower while low memory is paid attention to and there is
// little. A prepurge limit of 0 means that none are set. While attention is paid, a
// measurement on another thread at that moment may put the old limits back: set them
// while none allocates or asks for statistics. Returns 0, or the host service's error with the old
// limits in force.
U_EXPORT U_Status U_SetMemUsageLimits(U_u64 prepurge, U_u64 maximum);

// Sets limits, put in order in the same way, that hold wherever they are lower
// than the base, once a base is set; 0 for both is no override.
U_EXPORT U_Status U_SetMemUsageLimitsOverride(U_u64 prepurge, U_u64 maximum);

// The limits in force. Before any are set: 70 % of the physical memory, and
// all of it. Returns 0, 3 for a null output, or the host service's error.
U_EXPORT U_Status U_GetMemUsageLimits(U_u64* prepurge, U_u64* maximum);

// The application's own footprint, charged to the usage figure from birth to
// death. out may be null. Always 0.
U_EXPORT U_Status U_PresumedAppSize(U_u64* out);

// The statistics of U_GetMemoryStat.
enum : U_u32
{
    U_MemStat_InUse = 0,             // tracked use
    U_MemStat_InUseLowMemory = 1,    // the same, after a check for low memory
    U_MemStat_RoomToPrepurge = 2,    // left under the prepurge limit, 0 if reached
    U_MemStat_RoomToMaximum = 3,     // left under the maximum limit, 0 if reached
    U_MemStat_LargestBlock = 4,      // what malloc can give in one piece, at most 3 GiB
    U_MemStat_RoomForRecycled = 5,   // as 2, with the recycled pool counted as free
    U_MemStat_InUseByLibrary = 6,    // use less the recycled pool and external managers;
                                     // 1 where that would fall below zero
    U_MemStat_InUseWithoutFrames = 7 // as 1, less frame allocations
};

// Stores a statistic; an unknown one gives 0. Returns 0, 3 for a null out, or
// the host service's error, and then *out means nothing.
U_EXPORT U_Status U_GetMemoryStat(U_u32 which, U_u64* out);

// Asks whether needed bytes more would pass the prepurge limit, and purges to
// make them fit. The recycled pool doesn't count as use here. *hitLimit (may be null) tells that
// they didn't fit on entry, *overLimit that they still don't. Returns 0, 3 for a null overLimit, or
// the host service's error, also one of a later round: then both are true, since what can't be
// measured counts as not fitting.
U_EXPORT U_Status U_CheckRAMPurgeLimit(bool* overLimit, U_u64 needed, bool* hitLimit);

// One attempt at an allocation of the host's own: set *okay, which starts
// false, and return 0 if it succeeded.
typedef int (*U_PurgeLoopProcedure)(void* refcon, bool* okay);

// Runs an allocation of the host's own under the library's budget and retry
// loop, as if it asked for size bytes. recycled: the block comes out of the
// recycled pool. Returns the procedure's last result, 4 if it never ran, or 3
// for a null procedure. What the procedure throws ends the loop and passes through.
U_EXPORT U_Status U_PurgeLoop(U_u64 size, U_PurgeLoopProcedure procedure, void* refcon,
                              bool recycled);

// Gives the runtime's free memory back to the system. Always 0. One thread
// compacts at a time.
U_EXPORT U_Status U_CompactMem();
U_EXPORT U_Status U_PurgeHandlesAndCompact();

// While disabled, which nests, blocks aren't measured against the limits. Each
// Enable undoes one Disable and needs one before it. Return 0, or the host
// service's error.
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

// While on, limits are kept low enough to leave the fudge buffer (debug
// setting "MemoryFudgeBuffer2", 250 MiB) of physical memory free. A prepurge
// limit lowered that way stays lowered until limits are set again. It becomes use
// plus the free memory less the fudge buffer, but no less than 1 byte, since 0 means
// never set; limits that were never set stay so.
U_EXPORT bool U_GetPayAttentionToLowMemory();
U_EXPORT void U_SetPayAttentionToLowMemory(bool pay);

#endif
