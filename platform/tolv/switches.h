// The switches of the heap and the usage figure, for platform/control.h.

#ifndef TOLV_SWITCHES_H
#define TOLV_SWITCHES_H

#include <boost/function.hpp>

namespace tolv
{
void SetHeapFailure(const boost::function<bool(unsigned long long size)>& shouldFail);
void SetUsageError(short code);
unsigned int SyncMemUsageCount();
bool MemDialogsQuieted();

// Ends injected failures and sets the counts back; limits stay.
void ResetSwitches();

// Whether an injected failure hits an operation for size bytes.
bool FailureInjected(unsigned long long size);
} // namespace tolv

#endif
