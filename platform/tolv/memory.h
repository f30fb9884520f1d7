// The heap, the tracked usage and the limits.
//
// Each block has its size, and a pointer its name, too. A handle is the address of a master
// pointer. The master pointer keeps its address when the block moves.
//
// Thread safety: all functions may be called on any thread. No function throws, except that
// MEM_DumpLeaks and MEM_Report pass on exceptions of a log sink.

#ifndef TOLV_MEMORY_H
#define TOLV_MEMORY_H

#include <atomic>

#include <platform/base/export.h>

struct MEM_Heap; // opaque, lives as long as the process
typedef MEM_Heap* MEM_HeapRef;

// Returns a new heap, or a heap that MEM_DumpLeaks has found empty. Null on failure.
PLATFORM_EXPORT MEM_HeapRef MEM_NewHeap();

// Returns a new handle, null on failure.
PLATFORM_EXPORT void** MEM_NewHandle(MEM_HeapRef heap, unsigned long long size);

// Returns 0 on success; otherwise the block is kept as it was.
PLATFORM_EXPORT int MEM_SetHandleSize(MEM_HeapRef heap, void** handle, unsigned long long size);

// Works like MEM_SetHandleSize. The checked heap does not report a hog handle, as MEM_SetHandleSize
// does.
PLATFORM_EXPORT int MEM_SetHogHandleSize(MEM_HeapRef heap, void** handle, unsigned long long size);

// Returns the block's size in bytes, 0 for an address that is no live handle.
PLATFORM_EXPORT unsigned long long MEM_GetHandleSize(MEM_HeapRef heap, void** handle);

// Frees a handle of any heap. Ignores an address that is no live handle.
PLATFORM_EXPORT void MEM_DisposeHandle(MEM_HeapRef heap, void** handle);

// Works like MEM_DisposeHandle. The checked heap reports a handle that is no hog handle, as
// MEM_DisposeHandle reports a hog handle.
PLATFORM_EXPORT void MEM_DisposeHogHandle(MEM_HeapRef heap, void** handle);

// Returns 0 if the handle is live and belongs to the heap, or is null.
PLATFORM_EXPORT int MEM_CheckHandleFromHeap(MEM_HeapRef heap, void** handle);

// Frees a live handle of the heap and returns 0. Returns 0 for null. For any other address frees
// nothing and returns the result of MEM_CheckHandleFromHeap.
PLATFORM_EXPORT int MEM_DisposeHandleFromHeap(MEM_HeapRef heap, void** handle);

// Returns a new pointer, null on failure. `name` is copied, up to 63 bytes, and may be null;
// `file` and `line` may be null and 0.
PLATFORM_EXPORT void* MEM_NewPtrDebug(MEM_HeapRef heap, unsigned long long size, const char* name,
                                      const char* file, int line);

// Returns the new address, or null with the old block kept. A null pointer allocates.
PLATFORM_EXPORT void* MEM_ResizePtr(MEM_HeapRef heap, void* pointer, unsigned long long size);
PLATFORM_EXPORT void MEM_DisposePtr(MEM_HeapRef heap, void* pointer);
PLATFORM_EXPORT unsigned long long MEM_GetPtrSize(MEM_HeapRef heap, void* pointer);

// Returns 0 if the pointer is live or null.
PLATFORM_EXPORT int MEM_CheckPtr(void* pointer);

// True while new blocks are checked (platform::SetHeapChecks). Then callers of the functions above
// call MEM_SetOrigin for each new block.
PLATFORM_EXPORT extern std::atomic<bool> MEM_KeepsOrigins;

// The operation that allocated a block, for the reports of the checked heap.
struct MEM_Origin
{
    const char* mName; // may be null
    unsigned mLocation;
    bool mIsHog;     // the block belongs to a hog handle
    bool mHasHeader; // the first 16 bytes are a header of the caller, which is not changed
};

// Stores the origin of a live block. Does nothing for a block that is not checked.
PLATFORM_EXPORT void MEM_SetOrigin(void* block, const MEM_Origin& origin);

// Returns false, after a report, if the heap is checked and the block is no live block of a
// recycled pointer. A block that was allocated before the checks began is accepted if the block
// starts with `mark`. Repairs a damaged header after a report.
PLATFORM_EXPORT bool MEM_CheckRecycled(void* block, unsigned mark);

// Reports a live checked handle that was used as a hog handle and has no hog's header: another kind
// of block, or a hog handle whose header is overwritten. The checks take the latter for a plain
// handle from now on, since the host can only free the handle as such.
//
// `original` is the address of which the block may be a copy. A copy of a handle, which may be
// freed meanwhile, is not reported. `original` need not be readable.
PLATFORM_EXPORT void MEM_ReportNoHog(void** handle, void** original);

// Logs under the tag "MEM_DumpLeaks" a line for each name that has blocks left in the heap, and
// then the sum. Logs nothing if no block is left. Ends the heap. REQUIRES: no other thread uses the
// heap.
PLATFORM_EXPORT void MEM_DumpLeaks(MEM_HeapRef heap);

// MEM_Report logs under the tag "MEM_Report" the live blocks and bytes and their change since the
// baseline. MEM_SetBaseline sets the baseline, which is zero at first. Other threads may change the
// heap meanwhile. Return 0.
PLATFORM_EXPORT int MEM_Report(MEM_HeapRef heap, int value);
PLATFORM_EXPORT int MEM_SetBaseline(MEM_HeapRef heap);

// Charge bytes outside the heap to the tracked usage. Return 0.
PLATFORM_EXPORT int MEM_AccountAllocation(int delta);
PLATFORM_EXPORT int MEM_AccountSystemAllocation(long long delta);

// Adds the bytes of frames, which may be negative, to the frame counter and to the tracked usage.
// The tracked usage includes the counter's bytes at every moment. Returns 0.
PLATFORM_EXPORT int MEM_AccountFrames(long long delta);

// Returns the frame counter, which may be negative.
PLATFORM_EXPORT long long MEM_GetFrames();

// Returns the tracked usage, and stores a frame counter that the usage includes.
PLATFORM_EXPORT unsigned long long MEM_GetMemUsageWithFrames(long long* frames);

// Returns the tracked usage in bytes: live blocks of all heaps plus the bytes charged above. Exact
// while no other thread changes it; otherwise off by at most 32 KiB for each such thread.
PLATFORM_EXPORT unsigned long long MEM_GetMemUsage();

// A charge for a block that the calling thread is about to allocate. Until the thread has the
// block, readings on this thread leave the claim out, and readings on other threads include it.
struct MEM_Claim
{
    bool mFits = false;            // `size` fitted under the limit
    unsigned long long mUsage = 0; // the usage that was compared, if `size` did not fit
    unsigned long long mOuter = 0; // bytes that the thread had claimed before
};

// A pool of freed blocks, which counts as use for blocks that are not taken from it.
struct MEM_Pool
{
    unsigned long long (*mBytes)();     // the bytes in the pool
    unsigned long long (*mMostBytes)(); // at least as many; called for each claim
};

// Compares the tracked usage plus `size` with `limit`. If the sum fits, charges `growth` bytes to
// the usage in the same atomic step. The next charges of the thread, such as that of the block
// itself, are paid out of the claim.
//
// - Of two threads that compete for the last room one thread gets the room.
// - The bytes of the pool, which may be null, are added to the usage for the comparison. The
//   functions of the pool are called again if another thread changes the usage.
// - If the sum does not fit while the pool or the usage changes, the comparison is repeated
//   several times.
// - The cost does not depend on the number of threads unless use is so near the limit that the
//   parts of the threads, of 16 KiB each, or the bound of the pool decide.
// - Without memory for the thread's record nothing is charged.
//
// Returns: 0, or the error of TOLV_TotalMemoryUsed with nothing claimed.
PLATFORM_EXPORT short MEM_ClaimUsage(unsigned long long size, unsigned long long growth,
                                     unsigned long long limit, const MEM_Pool* pool,
                                     MEM_Claim* claim);

// Cancels the part of the claim that no charge was paid from.
// REQUIRES: runs on the thread that claimed, in reverse order of claims.
PLATFORM_EXPORT void MEM_EndClaim(const MEM_Claim* claim);

// The base limits and the override, in bytes. Return 0, or -50 for a null
// output.
PLATFORM_EXPORT int MEM_GetMemUsageLimits(unsigned long long* prepurge,
                                          unsigned long long* maximum);
PLATFORM_EXPORT int MEM_SetMemUsageLimits(unsigned long long prepurge, unsigned long long maximum);
PLATFORM_EXPORT int MEM_GetMemUsageLimitsOverride(unsigned long long* prepurge,
                                                  unsigned long long* maximum);
PLATFORM_EXPORT int MEM_SetMemUsageLimitsOverride(unsigned long long prepurge,
                                                  unsigned long long maximum);

// Three functions of the library above TOLV. Each may be null.
struct TOLV_U_Callbacks
{
    unsigned long long (*bytesInUse)();
    unsigned long long (*externalBytes)();
    bool (*isMainThread)();
};

// Copies the table; three nulls remove it.
PLATFORM_EXPORT void TOLV_Install_U_Callback(const TOLV_U_Callbacks* callbacks);

// Stores the usage in bytes: the sum of the installed functions, or the tracked usage if none
// are installed. Returns 0 or an error.
PLATFORM_EXPORT short TOLV_TotalMemoryUsed(unsigned long long* out);

// Compares the tracked usage with the operating system's figure and stores the difference as
// the slop. The tracked usage itself is not changed: the system's figure counts pages that
// the budget cannot influence.
PLATFORM_EXPORT void TOLV_SyncMemUsageWithOS();

// Stores the bytes that the process had resident beyond the tracked usage at the last
// synchronisation, 0 if none.
PLATFORM_EXPORT short TOLV_GetSlop(unsigned long long* out);

// Change a nesting count of TOLV's own. Return 0.
PLATFORM_EXPORT int TOLV_DisableProactivePrePurging();
PLATFORM_EXPORT int TOLV_EnableProactivePrePurging();

// After this call the host services show no memory dialogs.
PLATFORM_EXPORT void TOLV_QuietMemDialogs();

#endif
