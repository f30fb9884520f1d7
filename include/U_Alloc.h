// Handles, pointers, recycled pointers and accounting.
//
// Every block is allocated under the budget of U_Budget.h: one that would pass
// the maximum limit is refused, and one that the heap refuses is tried again
// for as long as the host's purge callback really frees memory. No operation throws of
// its own; what passes out of a report (U_Report.h) or a measurement (U_MemServices.h)
// passes here. All may be called on any thread between birth and death. Before a first
// birth there is no memory, which is told as below.
//
// Sizes are in bytes. The largest block is 0x7FFFFFFF bytes. opName names the
// allocation for the user and the log; a pointer keeps its first 63 bytes for the leak
// report, where some 65,000 different names are told apart. Failures are reported to the user with
// the size and the name; a null opName, like a Quiet variant, keeps them to the log. Two kinds are
// told otherwise: a size above the largest is reported without the name, and leaves
// no line in the log if opName is null; and where the use of memory can't be measured,
// the block is refused with neither report nor line.

#ifndef U_ALLOC_H
#define U_ALLOC_H

#include "U_Types.h"

// Handles. The handle keeps its value for the block's life; *handle is the
// block's first byte, aligned for any type, which may move when the handle is
// resized. The caller owns the block. Null if it can't be had.
//
// The Clear variants zero the block, but for one that came only after a retry
// in which the use of memory couldn't be measured.
U_EXPORT void** U_AllocateHandle(U_u32 location, const char* opName, U_u64 size);
U_EXPORT void** U_AllocateHandleClear(U_u32 location, const char* opName, U_u64 size);
U_EXPORT void** U_AllocateHandleQuiet(U_u64 size);
U_EXPORT void** U_AllocateHandleClearQuiet(U_u64 size);

// Plain pointers, in the same way.
U_EXPORT void* U_AllocatePtr(U_u32 location, const char* opName, U_u64 size);
U_EXPORT void* U_AllocatePtrClear(U_u32 location, const char* opName, U_u64 size);
U_EXPORT void* U_AllocatePtrQuiet(U_u64 size);
U_EXPORT void* U_AllocatePtrClearQuiet(U_u64 size);

// Resizes. Returns 0, 3 for a null handle, or 4 with the handle and its block
// as they were. Bytes added aren't cleared. A handle that isn't a live one of the
// library's heap is told and treated as one that there is no memory for.
U_EXPORT U_Status U_ResizeHandle(U_u32 location, U_u64 newSize, const char* opName, void*** handle);

// Resizes and stores the new address in *pointer. On failure returns 4 and
// stores null there while the old block stays allocated: keep its address if
// you mean to go on with it or to free it. A null *pointer allocates; a null
// pointer gives 3.
U_EXPORT U_Status U_ResizePtr(U_u32 location, U_u64 newSize, const char* opName, void** pointer);
U_EXPORT U_Status U_ResizePtrQuiet(U_u64 newSize, void** pointer);

// Frees. Null does nothing; a handle that isn't live is reported and left alone; a
// live one of another heap is reported and freed there. A pointer must be a live one,
// here as in the other operations on pointers. Always 0.
U_EXPORT U_Status U_FreeHandle(void** handle);
U_EXPORT U_Status U_FreePtr(void* pointer);

// Stores the block's size. A handle that isn't a live one of the library's heap is
// reported first: one of another heap then gives its size, one that isn't live 0.
// With nothing stored reports and returns 3 for a null handle or output, and a
// negative code for a handle of another heap whose block doesn't fit a signed 32-bit
// size.
U_EXPORT U_Status U_GetHandleSize(void** handle, U_u32* size);

// The same for a pointer; a null one has size 0.
U_EXPORT U_Status U_GetPtrSize(void* pointer, U_u64* size);

// 0 if the handle is a live one of the library's heap, or null; else non-zero, with
// a report.
U_EXPORT U_Status U_CheckHandleFromHeap(void** handle);

// Makes a new handle with the same contents and stores it in *out. Returns 0,
// 4 with *out null, or the error of U_GetHandleSize with *out untouched; 3 for a null
// out. The copy of what isn't a live handle is empty.
U_EXPORT U_Status U_DuplicateHandle(void** handle, const char* opName, void*** out);

// The same, with a handle of the host services' toolbox as the copy: to be
// freed with DisposeHandle. It isn't tracked and is tried once.
U_EXPORT U_Status U_DuplicateHandleToPlatform(void** handle, const char* opName, void*** out);

// The same, from a toolbox handle to a new handle of the library. Always 0, but for
// a null out; *out is null if the copy couldn't be made, or the source
// is null.
U_EXPORT U_Status U_DuplicateHandleFromPlatform(void** platformHandle, const char* opName,
                                                void*** out);

// Moves a resource's contents into a new handle, detaches the resource and
// frees it. Returns 0 or the resource manager's error, after which *out holds the
// copy and the source is freed all the same. If the copy can't be made, *out is null,
// the resource stays as it was and the result is 4; 3 for a null resource. A null out
// does nothing.
U_EXPORT U_Status U_DetachResource(void** resource, const char* opName, void*** out);

// Recycled pointers: blocks from a pool that keeps what is given back for the
// next request. Null if the block can't be had; with its header it must fit
// 0x7FFFFFEF bytes. Free them with U_FreeRecycledPtr only, which does nothing
// for null and always gives 0.
U_EXPORT void* U_AllocateRecycledPtr(U_u32 location, const char* opName, U_u64 size);
U_EXPORT U_Status U_FreeRecycledPtr(void* pointer);

// The pointer itself: the data address is the base address.
U_EXPORT void* U_GetRecycledPtrBaseAddress(void* pointer);

// Bytes that the pool holds for reuse.
U_EXPORT U_u64 U_GetRecycledMemorySize();

// Gives up to that many bytes of the pool back to the system. Returns the
// bytes given back.
U_EXPORT U_u64 U_PurgeRecycledMemory(U_u64 bytes);

// Charge memory that the host allocated elsewhere to the usage figure; a
// negative delta takes it off. Return 0.
U_EXPORT U_Status U_AccountAllocation(U_i32 delta);
U_EXPORT U_Status U_AccountFrameAllocation(U_i64 delta);
U_EXPORT U_Status U_AccountSystemAllocation(U_i64 delta);

// add true charges size, which must fit a signed 32-bit value: else reports and
// returns 3 with nothing charged. add false takes the low 32 bits of size off, as a
// signed value.
U_EXPORT U_Status U_AccountAllocationEx(U_u64 size, bool add);

#endif
