// The switches of the heap and the usage figure, for platform/control.h.

#ifndef TOLV_SWITCHES_H
#define TOLV_SWITCHES_H

#include <boost/function.hpp>

#include <platform/base/switched_function.h>

namespace tolv
{
void SetHeapFailure(const boost::function<bool(unsigned long long size)>& shouldFail);
void SetUsageError(short code);
unsigned int SyncMemUsageCount();
bool MemDialogsQuieted();

// FlushEvents calls so far.
unsigned int FlushEventsCount();
void ResetFlushEventsCount();

// What GetScriptManagerVariable answers.
void SetDoubleByteScript(bool on);

// What GetCurrentKeyModifiers answers.
void SetModifierKeys(unsigned int mask);

// Ends injected failures and sets the counts back; limits stay.
void ResetSwitches();

extern platform::SwitchedFunction<bool(unsigned long long)>& sShouldFail;

bool AskPredicate(unsigned long long size);

// Whether an injected failure hits an operation for size bytes. While none are
// injected it looks at one flag.
inline bool FailureInjected(unsigned long long size)
{
    return sShouldFail.Installed() && AskPredicate(size);
}
} // namespace tolv

#endif
