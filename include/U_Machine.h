// Services of the machine: clocks, processor data, byte order, the floating-point control word,
// the depth of the stack, contiguous address space, names. Each service is independent of the
// others.
//
//     double before = 0;
//     double after = 0;
//     U_SecondsSinceBoot(&before);
//     U_Delay(20);
//     U_SecondsSinceBoot(&after); // at least 0.02 more
//
// Thread safety: all functions may be called on any thread, also before birth and after death,
// unless the function says otherwise.

#ifndef U_MACHINE_H
#define U_MACHINE_H

#include <stddef.h>
#include <stdint.h>

#include "U_Types.h"

// Data of the processor. A flag is 1 if the processor has the feature, otherwise 0, also on a
// processor without such flags. Hosts read the fields directly: their order never changes.
struct U_CPU_Data
{
    U_u32 MMX;           // always 1
    U_u32 SSE;           // 1 or 0
    U_u32 SSE2;          // 1 or 0
    U_u32 SSE3;          // 1 or 0
    U_u32 PhysicalCores; // processor cores, 1 if the system reports none
    U_u32 LogicalCores;  // logical processors, 1 if the system reports none
    U_u32 SSSE;          // 1 or 0, of SSSE3
    U_u32 SSE4_1;        // 1 or 0
    U_u32 SSE4_2;        // 1 or 0
};

// Null before the first U_Birth, which fills the record in. Valid from then on, also after death.
U_EXPORT extern const U_CPU_Data* U_G_CPU_DataP;

// Store the time since the machine started, in seconds or in whole milliseconds, truncated.
//
// The first U_Birth chooses the clock for the process: the performance counter. If the system has
// no performance counter or the profile integer "UseAltPreviewTimingMode" is not 0, and before the
// first birth, the clock is a counter of milliseconds, which restarts at 0 after 49.7 days.
//
// Returns: 0, or 3 for a null `out`.
U_EXPORT U_Status U_SecondsSinceBoot(double* out);
U_EXPORT U_Status U_MillisecondsSinceBoot(U_u64* out);

// Returns 0 after `milliseconds` have passed on that clock, never earlier. Keeps the processor
// busy: does not sleep and dispatches no messages.
U_EXPORT U_Status U_Delay(U_u64 milliseconds);

// The number of threads that the host wants modules to use. While the number is negative, as at
// the start of the process, U_GetNumThreads stores the number of logical processors.
//
// Returns: 0, or 3 for a null `out`.
U_EXPORT U_Status U_GetNumThreads(U_i32* out);
U_EXPORT U_Status U_SetNumThreads(U_i32 count);

// Return false on every machine.
U_EXPORT bool U_IsOSX();
U_EXPORT bool U_QTAvailable();

// Returns true if all modifier keys of the mask are down; true for 0. The bits are kModifierShift
// and the other constants of tolv/keyboard.h.
U_EXPORT bool U_ModKeyDown(U_u32 mask);

// Return the bytes in reverse order.
U_EXPORT U_u16 U_ShortSwap(U_u16 value);
U_EXPORT U_u32 U_LongSwap(U_u32 value);
U_EXPORT U_u64 U_LLongSwap(U_u64 value);

// Reverse the bytes in place. A swapped number is never passed by value, which may change its
// bits.
U_EXPORT void U_FpShortSwap(float* number);
U_EXPORT void U_FpLongSwap(double* number);

// Convert between a pointer and a number with the same bits.
//
// Throws: only U_PointerToInt32: boost::numeric::negative_overflow for an address with its highest
// bit set, boost::numeric::positive_overflow for any other address of more than 32 bits.
U_EXPORT void* U_Int32ToPointer(U_u32 number);
U_EXPORT void* U_IntPtrToPointer(intptr_t number);
U_EXPORT intptr_t U_PointerToIntPtr(void* pointer);
U_EXPORT U_u32 U_PointerToInt32(void* pointer);

// Sets the floating-point control word of the calling thread: denormal numbers are flushed to
// zero, and no operation raises an exception, except for denormal operands if the thread had that
// exception enabled.
//
// The profile integer "UseControlFPKey64_2", as a byte, decides:
// - 0: the thread is unchanged.
// - 2, also if the profile has none: the defaults of all three integers are written to the
//   profile, and the word is set with these. Without memory for an integer, that integer is not
//   written, and its default counts.
// - Any other: "ControlFPMaskKey64_2" (default 50856735) selects the fields of the word that
//   change, "ControlFPValuesKey64_2" (default 0x8001F) has their values.
// The values always include flushing and no exception for inexact results.
U_EXPORT void U_InitFPControl();

// Sets the control word of the calling thread to the word that the last U_InitFPControl of the
// process has replaced, on whichever thread. Does nothing if that call changed no word, or if
// U_TerminateFPControl was called since.
U_EXPORT void U_TerminateFPControl();

// Marks the caller's position on the stack of its thread. If the thread has a mark further out,
// that mark stays.
U_EXPORT void U_InitializeCallStackMonitoring();

// Returns the bytes of stack from the mark to the caller; 0 without a mark, and if the caller is
// further out than the mark. On another stack than that of the mark, as in a signal handler with
// a stack of its own, the figure has no meaning.
U_EXPORT size_t U_GetCurrentCallStackSize();
U_EXPORT bool U_IsCallStackMonitoringInitialized();

// Owns a contiguous range of reserved address space, at most 2 GiB less one byte. The range cannot
// be read or written: it keeps the addresses free for a later user.
//
// The constructor and U_ReserveContiguousAddressSpace may ask the host to purge. Meanwhile the
// blocks of other threads are not measured against the limits.
//
// REQUIRES: constructed between birth and death. The range may be released at any time.
class U_EXPORT U_ScReserveContiguousAddressSpace
{
public:
    // Throws: an int, 4 if there is no such range.
    explicit U_ScReserveContiguousAddressSpace(U_u64 size);
    ~U_ScReserveContiguousAddressSpace();
    U_ScReserveContiguousAddressSpace(const U_ScReserveContiguousAddressSpace&) = delete;

    // Refers to the range of `other` afterwards. The range that this object owned stays reserved
    // until the process ends.
    //
    // REQUIRES: only one of the two objects releases the range.
    U_ScReserveContiguousAddressSpace& operator=(const U_ScReserveContiguousAddressSpace& other);

    // Releases the range now. Later calls and the destructor do nothing.
    void Release();

private:
    void* mReservation;
};

// Checks whether such a range can be reserved now. Keeps no range.
//
// Returns: 0; 4 if there is no such range; the code of another failure.
// REQUIRES: called between birth and death.
U_EXPORT U_Status U_ReserveContiguousAddressSpace(U_u64 size);

// Return the name of the machine, at most 31 code units, and of the user, at most 256. Empty if
// the system has none.
//
// Throws: std::bad_alloc.
U_EXPORT U_UTF16String U_GetMachineName();
U_EXPORT U_UTF16String U_GetUsername();

// Returns whether a debugger is attached to the process.
U_EXPORT bool U_IsDebuggerPresent();

// For close neighbours.

// Store `count` copies of the value from `destination` on, none for a count of 0 or less.
// `destination` need not be aligned.
U_EXPORT void Up_Memset16(U_u16 value, U_i32 count, void* destination);
U_EXPORT void Up_Memset32(U_u32 value, U_i32 count, void* destination);

#endif
