// What the machine offers: clocks, what the processor can do, byte order, the
// floating-point control word, the depth of the stack, contiguous address space,
// names.
//
// Each service is small and stands alone. Unless told otherwise, any thread may
// call, also before birth and after death.

#ifndef U_MACHINE_H
#define U_MACHINE_H

#include <stddef.h>
#include <stdint.h>

#include "U_Types.h"

// What the processor has. Flags are 0 or 1, and 0 on a processor that has no such
// flags. Hosts read the fields directly: their order stays.
struct U_CPU_Data
{
    U_u32 MMX; // always 1
    U_u32 SSE;
    U_u32 SSE2;
    U_u32 SSE3;
    U_u32 PhysicalCores; // processor cores, 1 if the system doesn't tell
    U_u32 LogicalCores;  // logical processors, likewise
    U_u32 SSSE;
    U_u32 SSE4_1;
    U_u32 SSE4_2;
};

// Null before the first U_Birth, which fills the record in; valid from then on.
U_EXPORT extern const U_CPU_Data* U_G_CPU_DataP;

// Time since the machine started. The clock is chosen by the first U_Birth: the
// performance counter, or milliseconds that begin anew after 49.7 days if there is
// none, the profile integer "UseAltPreviewTimingMode" isn't 0, or birth is yet to
// come. Milliseconds are cut to whole ones. Return 0, or 3 for a null out.
U_EXPORT U_Status U_SecondsSinceBoot(double* out);
U_EXPORT U_Status U_MillisecondsSinceBoot(U_u64* out);

// Returns when so many milliseconds have passed on that clock, never earlier. Keeps the
// processor busy: no sleep, no messages. Always 0.
U_EXPORT U_Status U_Delay(U_u64 milliseconds);

// How many threads the host wants used; while the number set is negative, as at the
// start, as many as there are logical processors. Return 0, or 3 for a null out.
U_EXPORT U_Status U_GetNumThreads(U_i32* out);
U_EXPORT U_Status U_SetNumThreads(U_i32 count);

// Always false.
U_EXPORT bool U_IsOSX();
U_EXPORT bool U_QTAvailable();

// Whether all modifier keys of the mask are down, as kModifierShift and its kin of
// tolv/keyboard.h; true for 0.
U_EXPORT bool U_ModKeyDown(U_u32 mask);

// The bytes in reverse order.
U_EXPORT U_u16 U_ShortSwap(U_u16 value);
U_EXPORT U_u32 U_LongSwap(U_u32 value);
U_EXPORT U_u64 U_LLongSwap(U_u64 value);

// The same in place: a number with its bytes swapped isn't passed by value, since
// that may change it.
U_EXPORT void U_FpShortSwap(float* number);
U_EXPORT void U_FpLongSwap(double* number);

// A pointer's bits as a number, and back. U_PointerToInt32 throws
// boost::numeric::negative_overflow for an address with its highest bit set, and
// boost::numeric::positive_overflow for another one that doesn't fit.
U_EXPORT void* U_Int32ToPointer(U_u32 number);
U_EXPORT void* U_IntPtrToPointer(intptr_t number);
U_EXPORT intptr_t U_PointerToIntPtr(void* pointer);
U_EXPORT U_u32 U_PointerToInt32(void* pointer);

// Sets up floating-point arithmetic on the calling thread: denormal numbers are flushed
// to zero, and no operation raises an exception, but for denormal operands where the
// thread had that before. The profile integer "UseControlFPKey64_2" decides, as a byte:
// 0 leaves the thread alone, 2 (also if there is none) writes the defaults of all three
// integers to the profile first, and otherwise "ControlFPMaskKey64_2" (50856735) says
// which fields of the control word change and "ControlFPValuesKey64_2" (0x8001F) to
// what. Flushing, and no exception for inexact results, are always among the values.
// Without memory the profile stays as it is.
U_EXPORT void U_InitFPControl();

// Restores on the calling thread what the last U_InitFPControl of the process has
// found; nothing if that left the thread alone, or a U_TerminateFPControl came after
// it.
U_EXPORT void U_TerminateFPControl();

// Marks the caller's depth on the stack of its thread; a mark further out stays.
// Without memory there is no mark.
U_EXPORT void U_InitializeCallStackMonitoring();

// Bytes of stack from the mark to the caller; 0 without a mark, or further out. On another
// stack than the mark's, as in a signal handler that has its own, the figure says nothing.
U_EXPORT size_t U_GetCurrentCallStackSize();
U_EXPORT bool U_IsCallStackMonitoringInitialized();

// Address space in one piece, at most 2 GiB less a byte. Nothing can be read or
// written there: the range is there so that something else gets it. While it is sought,
// the host is asked to purge if need be, and other threads' blocks aren't measured
// against the limits. It is sought between birth and death; given back at any time.
class U_EXPORT U_ScReserveContiguousAddressSpace
{
public:
    // Throws an int: 4 if there is no such range.
    explicit U_ScReserveContiguousAddressSpace(U_u64 size);
    ~U_ScReserveContiguousAddressSpace();
    U_ScReserveContiguousAddressSpace(const U_ScReserveContiguousAddressSpace&) = delete;

    // Copies the other's range and leaves its own reserved for good. Only one of the
    // two may release the range.
    U_ScReserveContiguousAddressSpace& operator=(const U_ScReserveContiguousAddressSpace& other);

    // Gives the range back now; once.
    void Release();

private:
    void* mReservation;
};

// Whether such a range can be had: 0, or 4 if it can't, or the code of a failure on
// the way. Between birth and death.
U_EXPORT U_Status U_ReserveContiguousAddressSpace(U_u64 size);

// Empty if the system doesn't tell. The machine's name has at most 31 units, the
// user's 256. Throw std::bad_alloc.
U_EXPORT U_UTF16String U_GetMachineName();
U_EXPORT U_UTF16String U_GetUsername();

U_EXPORT bool U_IsDebuggerPresent();

// For close neighbours.

// Stores count copies of the value from destination on, which needn't be aligned;
// none if count is 0 or less.
U_EXPORT void Up_Memset16(U_u16 value, U_i32 count, void* destination);
U_EXPORT void Up_Memset32(U_u32 value, U_i32 count, void* destination);

#endif
