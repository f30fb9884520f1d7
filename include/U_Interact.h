// The receivers of reports: the logging callbacks, the interaction mask, and the host's name.
//
//     int warnings = 0;
//     const U_LoggingCallback count = [](void* refcon, U_u32, U_u16 severity, const char*) {
//         *static_cast<int*>(refcon) += severity == U_Sev_WARNING;
//         return U_Status(0); // the report continues
//     };
//     U_AddLoggingCallback(count, &warnings);
//     U_RemoveLoggingCallback(count, &warnings);
//
// Terms, explained in docs/concepts.md:
//
// - Interaction mask: decides which severities go where. Bit b of the low half shows the
//   severity of value 1 << b to the user. The same bit of the high half passes that severity to
//   the callbacks. The log has a line for a warning, a problem and a fatal error, if either
//   half has the severity's bit.
// - Location code: the module in the high half, a place in the module in the low half.
//
// Thread safety: all functions may be called on any thread. The mask and the callbacks belong
// to the whole process.
//
// Failures: the functions that return U_Status return 2 for a damaged record of the library,
// 5889 if the library is not alive. Each refusal is reported. A library with a damaged record
// calls no callback.

#ifndef U_INTERACT_H
#define U_INTERACT_H

#include "U_Types.h"

// Receives a report: the location code, the severity and the text in the active code page, at
// most 511 bytes. Without memory to convert the text, the text is empty.
//
// - The callback runs on the thread that reports, with the lock of the callbacks held. Other
//   threads that report, or add or remove a callback, wait for the lock.
// - The callback may add and remove callbacks, also itself. The slots are read in
//   order. A change of a slot that has not been read yet takes effect in this report.
//
// Returns: 0, or a code that ends the report. The answer of the last callback that ran is the
// one that counts. An exception of a callback ends the report, too. A report that ends here is
// neither counted nor shown; the code or the exception passes to the caller that reported.
//
// REQUIRES: does not call U_Death or a function of U_Hog.h, and does not wait for a thread that
// may report: that thread waits for the lock, so both wait for ever.
typedef U_Status (*U_LoggingCallback)(void* refcon, U_u32 location, U_u16 severity,
                                      const char* text);

// Adds a callback in the first free of ten slots. A pair that is added twice has two slots and
// is called twice. Death removes all callbacks.
//
// Returns: 0; 3 if the callback is null or all slots are taken; 2 or 5889.
U_EXPORT U_Status U_AddLoggingCallback(U_LoggingCallback callback, void* refcon);

// Removes the callback from the first slot that has both the function and the refcon. Once the
// function has returned, outside a callback, that slot no longer runs. If the pair had only one
// slot, the host may then free the refcon.
//
// Returns: 0; 3 if the callback is null or no slot has the pair; 2 or 5889.
U_EXPORT U_Status U_RemoveLoggingCallback(U_LoggingCallback callback, void* refcon);

// Copies the host's display name, at most 30 bytes and the terminator. On failure `out` is
// unchanged.
//
// Returns: 0; 3 if `out` is null; 2 or 5889.
U_EXPORT U_Status U_GetName(char* out);

// Stores the number of reports counted so far. On failure `out` is unchanged.
//
// Returns: 0; 3 if `out` is null; 2 or 5889.
U_EXPORT U_Status U_GetHowManyErrors(U_u32* out);

// Copies the machine's network name into `out`, which has `size` bytes.
//
// Returns: 0; -1 if the system has no name, or if the name with its terminator does not fit:
// `out` is then empty or has the start of the name. -1 also if `size` is 0 or `out` is null;
// nothing is written then.
U_EXPORT U_i32 U_GetComputerName(U_u32 size, char* out);

// For close neighbours.

// Returns the mask in force; 0 before the first birth.
U_EXPORT U_u32 Up_GetInteract();

// Replaces all masks, also the temporary ones, by one base mask. Birth sets 0xFFBFFF9F.
//
// Throws: std::bad_alloc, with the masks unchanged.
U_EXPORT void Up_SetInteract(U_u32 mask);

// Puts a temporary mask in front of the other masks. The new mask is in force at once.
//
// Returns: the id for Up_SetInteractTempComplete, never 0.
// Throws: std::bad_alloc, with the masks unchanged.
U_EXPORT U_u32 Up_SetInteractTemp(U_u32 mask);

// Removes a temporary mask; the order of removals is free. The front mask of the rest is then
// in force. An unknown id has no effect, nor has the id of the base mask.
U_EXPORT void Up_SetInteractTempComplete(U_u32 id);

#endif
