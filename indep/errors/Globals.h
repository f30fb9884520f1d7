// The record of what exists once per process.

#ifndef INDEP_ERRORS_GLOBALS_H
#define INDEP_ERRORS_GLOBALS_H

#include <atomic>

#include <boost/thread/recursive_mutex.hpp>

#include <platform/base/cache_line.h>

#include "U_Interact.h"
#include "U_Types.h"
#include "indep/frame/Guard.h"

const U_u32 kGlobalsMagic = 0x11868;
const std::size_t kMostLoggingCallbacks = 10;

// Plain data in a handle of the library's heap. The magic numbers at both ends
// tell whether somebody wrote over it.
struct U_Globals
{
    U_u32 mMagicHead;
    std::atomic<U_u32> mDying;            // set by the first fatal error, never set back
    char mName[31];                       // the host's display name
    boost::recursive_mutex* mLoggingLock; // guards the two arrays; owned
    std::atomic<U_LoggingCallback> mLoggingFuncs[kMostLoggingCallbacks];
    void* mLoggingRefcons[kMostLoggingCallbacks];
    char mApart[platform::kCacheLine]; // each report writes the count, all read the rest
    std::atomic<U_u32> mErrorCount;
    char mApartToo[platform::kCacheLine];
    std::atomic<U_u32> mPostErrors; // read as signed: decrements may come first
    U_u32 mMagicTail;
};

// The record, null while the library isn't alive.
U_Globals* Globals();

// Makes the record and turns the reports on. Returns 0, or 4 with no record;
// throws std::bad_alloc, with a record.
U_Status Up_MakeGlobals(const char* displayName);

// Destroys the record if there is one.
void Up_DestroyGlobals();

// Whether the record exists and is whole.
bool Up_GlobalsAreGood();

// Notes that the process is dying, if there is a record to note it in, and ends
// the host services' own memory dialogs.
void Up_MarkDying();

// The first line of an entry point that needs the record. code is the entry
// point's place in the library. Returns 0; or, after a fatal report, 2 for a
// damaged record, or 5889 for none.
U_Status Up_ValidateGlobals(U_u16 code);

#endif
