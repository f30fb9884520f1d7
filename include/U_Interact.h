// Who hears of reports.
//
// A host can hang up to ten functions on the report path. The interaction mask
// says which severities go where: bit b of its low half is the severity of
// value 1 << b for the user, the same bit of the high half that severity for
// the callbacks. The log has lines of warnings, problems and fatal errors, if either half
// has their bit. A library whose record is damaged calls no
// callback. Any thread; the mask is the whole process's.

#ifndef U_INTERACT_H
#define U_INTERACT_H

#include "U_Types.h"

// Sees a report: where it comes from, how severe it is, and its text in the
// active code page, at most 511 bytes; empty without memory. It runs on the thread that reports,
// with the lock of the callbacks held: other threads that report, add or remove a callback wait, so
// one that waits for such a thread waits for ever. It may add and remove callbacks, itself too: the
// slots are asked in order, each for what stands in it by then. It may not call U_Death, nor
// have to do with hogs (U_Hog.h). The answer
// of the last callback that ran is the one that counts. If that isn't 0, or a callback throws, the
// report ends there: it is neither counted nor shown, and the code goes to who reported.
typedef U_Status (*U_LoggingCallback)(void* refcon, U_u32 location, U_u16 severity,
                                      const char* text);

// Adds a callback in the first free slot; the same pair may be added again and
// is called once more then. Death drops all callbacks. Returns 0; 3 for a null
// callback, or if all ten slots are taken; 2 for a damaged record, 5889 if the
// library isn't alive.
U_EXPORT U_Status U_AddLoggingCallback(U_LoggingCallback callback, void* refcon);

// Removes the first pair of both. Once it has returned, outside a callback, that
// slot runs no more: if the pair was there once, its refcon may go. Returns 0; 3
// for a null callback or if there is no such pair; 2 or 5889 as above.
U_EXPORT U_Status U_RemoveLoggingCallback(U_LoggingCallback callback, void* refcon);

// Copies the host's display name, up to 30 bytes and a zero. Returns 0; 3 for a
// null out; 2 or 5889 as above. out stays on failure.
U_EXPORT U_Status U_GetName(char* out);

// The reports counted so far. Returns 0; 3 for a null out; 2 or 5889 as above.
// out stays on failure.
U_EXPORT U_Status U_GetHowManyErrors(U_u32* out);

// The machine's name in the network. Returns 0, or -1 if the system doesn't
// tell or the name doesn't fit into size bytes, with its zero; out is empty or
// holds the start of the name then. A size of 0 or a null out gives -1, and
// nothing is written. Where sockets have to be started first, the host has done
// so.
U_EXPORT U_i32 U_GetComputerName(U_u32 size, char* out);

// For close neighbours.

// The mask in force; 0 before the first birth.
U_EXPORT U_u32 Up_GetInteract();

// Puts one mask in the place of all, also of temporary ones. Birth sets
// 0xFFBFFF9F. This and the next throw std::bad_alloc, with the masks as they
// were.
U_EXPORT void Up_SetInteract(U_u32 mask);

// Puts a mask in front of those set so far, in force at once. Returns the id that
// completes it, never 0.
U_EXPORT U_u32 Up_SetInteractTemp(U_u32 mask);

// Takes a temporary mask away again, in whatever order; the mask in front of
// the rest is in force then. An unknown id does nothing, and the base mask can't be
// taken away.
U_EXPORT void Up_SetInteractTempComplete(U_u32 id);

#endif
