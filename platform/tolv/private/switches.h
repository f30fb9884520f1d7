// Switches of TOLV for platform/control.h.

#ifndef TOLV_SWITCHES_H
#define TOLV_SWITCHES_H

#include <cstddef>

#include <boost/function.hpp>

#include <platform/base/switched_function.h>

namespace tolv
{
void SetHeapFailure(const boost::function<bool(unsigned long long size)>& shouldFail);
void SetUsageError(short code);

// Sets the checks of the heap, from the environment for null. Returns false for a text that is
// not understood.
bool SetHeapChecks(const char* options);

// Verifies all blocks of the checked heap. Returns the number of faults.
std::size_t VerifyAllBlocks();

// Finds out whether the process is watched, and whether the heap is to be checked. Called before
// the first block.
void StartWatching();

// Reads the environment, unless the checks were set before. Logs a value that is not understood.
void ReadHeapChecks();
unsigned int SyncMemUsageCount();
bool MemDialogsQuieted();

void ClearProfile(); // of the profile integers

// Calls of FlushEvents since the last reset.
unsigned int FlushEventsCount();
void ResetFlushEventsCount();

// Sets the result of GetScriptManagerVariable.
void SetDoubleByteScript(bool on);

// Sets the result of GetCurrentKeyModifiers.
void SetModifierKeys(unsigned int mask);

// Ends injected failures and sets the counts to 0. Does not change the limits.
void ResetSwitches();

extern platform::SwitchedFunction<bool(unsigned long long)>& sShouldFail;

bool AskPredicate(unsigned long long size);

// Returns whether an injected failure applies to an operation on `size` bytes. Without an injected
// failure the cost is one load.
inline bool FailureInjected(unsigned long long size)
{
    return sShouldFail.Installed() && AskPredicate(size);
}
} // namespace tolv

#endif
