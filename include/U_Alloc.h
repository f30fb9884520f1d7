// Handles, pointers, recycled pointers, and charges for memory of the host's own.
//
// The library allocates every block under the budget of U_Budget.h. A block that would pass
// the maximum limit is refused. If the heap refuses a block, the library asks the host to
// purge, and tries again for as long as use falls. Sizes are in bytes; the largest block has
// 0x7FFFFFFF bytes.
//
//     void** thumbnail = U_AllocateHandleClear(1, "Thumbnail", 4096);
//     if (thumbnail && U_ResizeHandle(1, 8192, "Thumbnail", &thumbnail) == 0)
//         static_cast<char*>(*thumbnail)[8191] = 1; // the block may have moved
//     U_FreeHandle(thumbnail);
//
// Kinds of block:
// - A pointer serves most purposes.
// - A handle is a pointer to a pointer to the block. The handle keeps its value when a resize
//   moves the block.
// - A recycled pointer is for large blocks that are allocated and freed all the time. A pool
//   keeps freed blocks for the next request.
// Every kind is resized and freed with the functions of its kind only.
//
// Thread safety: all functions may be called on any thread between birth and death. One block
// is resized or freed by one thread at a time.
//
// Arguments of all allocations: `location` and `opName` name the allocation in the report of a
// failure. The heap keeps the first 63 bytes of a pointer's `opName` for the log of leaks, and
// distinguishes about 65,000 names. A null `opName`, like a Quiet variant, means that a failure
// is logged and not reported to the user.
//
// Throws: no function throws by itself. An exception of a host's function that runs inside a
// measurement (U_MemServices.h) is passed on. So is one that passes out of a report (U_Report.h),
// other than the report of a failed allocation.
//
// Failures of all allocations:
// - If the budget or the heap refuses a block, the library logs the failure and reports the
//   size and `opName` to the user.
// - A size above the largest is reported without `opName`. If `opName` is null, such a size is
//   neither reported nor logged.
// - If use cannot be measured, the block is refused without a report and without a log line.
// - Before the first birth handles and pointers fail as they do without memory.

#ifndef U_ALLOC_H
#define U_ALLOC_H

#include "U_Types.h"

// Allocates a pointer. The caller owns the block, which is aligned for any type. The Clear
// variants zero the block, with one exception: if use cannot be measured after a failed attempt,
// a block of a later attempt is not zeroed.
//
// Returns: the block, or null.
U_EXPORT void* U_AllocatePtr(U_u32 location, const char* opName, U_u64 size);
U_EXPORT void* U_AllocatePtrClear(U_u32 location, const char* opName, U_u64 size);
U_EXPORT void* U_AllocatePtrQuiet(U_u64 size);
U_EXPORT void* U_AllocatePtrClearQuiet(U_u64 size);

// Resizes the block *pointer and stores the new address in *pointer. Added bytes are not
// cleared. A null *pointer allocates. The budget asks for room for the whole new size, so near the
// maximum limit a smaller size can be refused, too.
//
// Returns: 0; 3 for a null `pointer`; or 4, and then *pointer is null and the old block is
// still allocated. A caller that needs the old block keeps a copy of the address.
// REQUIRES: *pointer is null or a live pointer.
U_EXPORT U_Status U_ResizePtr(U_u32 location, U_u64 newSize, const char* opName, void** pointer);
U_EXPORT U_Status U_ResizePtrQuiet(U_u64 newSize, void** pointer);

// Frees the block. Null does nothing.
//
// Returns: 0.
// REQUIRES: null or a live pointer.
U_EXPORT U_Status U_FreePtr(void* pointer);

// Stores the size of the block, 0 for a null pointer.
//
// Returns: 0, or 3 for a null `size`.
// REQUIRES: null or a live pointer.
U_EXPORT U_Status U_GetPtrSize(void* pointer, U_u64* size);

// Allocates a handle. *handle is the first byte of the block, aligned for any type, and changes
// when a resize moves the block. The caller owns the handle. The Clear variants zero the block,
// with the exception described at U_AllocatePtr.
//
// Returns: the handle, or null.
U_EXPORT void** U_AllocateHandle(U_u32 location, const char* opName, U_u64 size);
U_EXPORT void** U_AllocateHandleClear(U_u32 location, const char* opName, U_u64 size);
U_EXPORT void** U_AllocateHandleQuiet(U_u64 size);
U_EXPORT void** U_AllocateHandleClearQuiet(U_u64 size);

// Resizes the block of *handle. The handle keeps its value. Added bytes are not cleared.
//
// Returns: 0; 3 for a null handle; or 4, and then the handle and its block are unchanged.
// Failures: a handle that is not a live handle of the library's heap is reported by
// U_CheckHandleFromHeap, and the result is 4.
U_EXPORT U_Status U_ResizeHandle(U_u32 location, U_u64 newSize, const char* opName, void*** handle);

// Frees the handle and its block. Null does nothing.
//
// Returns: 0.
// Failures:
// - A live handle of another heap is reported, and then freed in that heap.
// - A handle that is not live is reported and not freed.
U_EXPORT U_Status U_FreeHandle(void** handle);

// Stores the size of the handle's block.
//
// Returns: 0; or 3 with a report for a null handle or a null `size`.
// Failures:
// - A handle that is not a live handle of the library's heap is reported first. The function
//   then stores the size for a handle of another heap, and 0 for a handle that is not live.
// - If the block of a handle of another heap is larger than the largest block, the function
//   reports the size, stores nothing and returns a negative code.
U_EXPORT U_Status U_GetHandleSize(void** handle, U_u32* size);

// Returns: 0 if the handle is null or a live handle of the library's heap; otherwise another
// value, after a report.
U_EXPORT U_Status U_CheckHandleFromHeap(void** handle);

// Stores in *out a new handle with the same contents. The caller owns *out.
//
// Returns: 0; 3 for a null `out`; 4 with *out null; or the error of U_GetHandleSize with *out
// unchanged.
// Failures: the copy of a handle that is not live is empty. A purge callback may resize or free
// the handle meanwhile. The copy has the earlier size, and only the bytes that the handle still
// has are copied.
U_EXPORT U_Status U_DuplicateHandle(void** handle, const char* opName, void*** out);

// Allocates a recycled pointer: takes a block from the pool, or a new block if no block in the
// pool fits.
//
// Returns: the block, or null. Null also for a size that with the header of 16 bytes is above
// 0x7FFFFFEF.
U_EXPORT void* U_AllocateRecycledPtr(U_u32 location, const char* opName, U_u64 size);

// Gives the block of a recycled pointer to the pool. Null does nothing.
//
// Returns: 0.
// REQUIRES: null or a live recycled pointer.
U_EXPORT U_Status U_FreeRecycledPtr(void* pointer);

// Returns the pointer itself: the address of the data is the base address.
U_EXPORT void* U_GetRecycledPtrBaseAddress(void* pointer);

// Returns the bytes that the pool keeps for later requests.
U_EXPORT U_u64 U_GetRecycledMemorySize();

// Gives at most `bytes` bytes of the pool back to the system. Returns the bytes given back.
U_EXPORT U_u64 U_PurgeRecycledMemory(U_u64 bytes);

// Charge memory that the host allocated elsewhere to the tracked use. A negative delta takes
// the charge off. U_AccountFrameAllocation also counts the bytes as frame allocations, which
// the statistic U_MemStat_InUseWithoutFrames leaves out. Nothing is compared with the limits.
//
// Return: 0.
U_EXPORT U_Status U_AccountAllocation(U_i32 delta);
U_EXPORT U_Status U_AccountFrameAllocation(U_i64 delta);
U_EXPORT U_Status U_AccountSystemAllocation(U_i64 delta);

// Charges `size` if `add` is true. Otherwise takes the low 32 bits of `size`, as a signed
// value, off the tracked use.
//
// Returns: 0; or 3 with a report, and nothing charged, if `add` is true and `size` does not fit
// a signed 32-bit value.
U_EXPORT U_Status U_AccountAllocationEx(U_u64 size, bool add);

// Copies from and to the toolbox of the host services.

// Stores in *out a handle of the toolbox with the same contents. The caller owns *out and frees
// the copy with DisposeHandle. The copy is not tracked, and the toolbox is asked once.
//
// Returns: as U_DuplicateHandle.
U_EXPORT U_Status U_DuplicateHandleToPlatform(void** handle, const char* opName, void*** out);

// Stores in *out a new handle with the contents of a toolbox handle. *out is null if the source
// is null or there is no memory.
//
// Returns: 0, or 3 for a null `out`.
U_EXPORT U_Status U_DuplicateHandleFromPlatform(void** platformHandle, const char* opName,
                                                void*** out);

// Moves the contents of a resource into the new handle *out, detaches the resource and frees
// the resource's own handle. A null `out` does nothing.
//
// Returns: 0 or the error of the resource manager, and in both cases *out has the copy and the
// resource is freed; 3 for a null resource; or 4 with *out null and the resource unchanged.
U_EXPORT U_Status U_DetachResource(void** resource, const char* opName, void*** out);

#endif
