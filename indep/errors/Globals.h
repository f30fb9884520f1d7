// The record of the state that exists once per process.

#ifndef INDEP_ERRORS_GLOBALS_H
#define INDEP_ERRORS_GLOBALS_H

#include <atomic>

#include <boost/thread/recursive_mutex.hpp>

#include <platform/base/thread_local.h>

#include "U_Interact.h"
#include "U_Types.h"
#include "indep/frame/Guard.h"

const U_u32 kGlobalsMagic = 0x11868;
const std::size_t kMostLoggingCallbacks = 10;

// Plain data in a handle of the library's heap. A wrong magic number at either end shows that
// the record was overwritten.
struct U_Globals
{
    U_u32 mMagicHead;
    std::atomic<U_u32> mDying;            // set by the first fatal error, never reset
    char mName[31];                       // the host's display name
    boost::recursive_mutex* mLoggingLock; // guards the two arrays; owned
    std::atomic<U_LoggingCallback> mLoggingFuncs[kMostLoggingCallbacks];
    void* mLoggingRefcons[kMostLoggingCallbacks];
    char mApart[platform::kCacheLine]; // every report writes the count and reads the rest
    std::atomic<U_u32> mErrorCount;
    char mApartToo[platform::kCacheLine];
    std::atomic<U_u32> mPostErrors; // read as signed: a decrement may precede its increment
    U_u32 mMagicTail;
};

// The low halves of the location codes of the entry points that need the record.
enum EntryPoint : U_u16
{
    kEntryDeath = 4,
    kEntryGetName = 9,
    kEntryGetHowManyErrors = 12,
    kEntryAddLoggingCallback = 21,
    kEntryRemoveLoggingCallback = 22,
    kEntrySetHowManyErrors = 29
};

// Returns the record; null while the library is not alive.
U_Globals* Globals();

// Makes the record and sets the interaction mask of birth. Returns 0, or 4 without a record.
// Throws std::bad_alloc, with a record.
U_Status Up_MakeGlobals(const char* displayName);

// Destroys the record, if there is one.
void Up_DestroyGlobals();

// Returns true if the record exists and both magic numbers are right.
bool Up_GlobalsAreGood();

// Marks the process as dying, if the record exists, and ends the memory dialogs of the host
// services.
void Up_MarkDying();

// The first step of an entry point that needs the record. Returns 0; or, after a fatal report,
// 2 for a damaged record and 5889 for a missing one.
U_Status Up_ValidateGlobals(EntryPoint entry);

// Sets the count of errors. Returns the result of Up_ValidateGlobals.
U_Status Up_SetHowManyErrors(U_u32 count);

// The host's display name. Unlike U_GetName, HostName reports no missing or damaged record:
// a report composes its text with HostName. A damaged record marks the process as dying.
struct HostName
{
    HostName();

    bool mIsKnown;
    char mText[31]; // empty if the name is not known
};

#endif
