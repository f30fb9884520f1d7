// The switches of the heap and the usage figure, for platform/control.h.

#ifndef TOLV_SWITCHES_H
#define TOLV_SWITCHES_H

#include <atomic>

#include <boost/function.hpp>

namespace tolv
{
void SetHeapFailure(const boost::function<bool(unsigned long long size)>& shouldFail);
void SetUsageError(short code);
unsigned int SyncMemUsageCount();
bool MemDialogsQuieted();

// Ends injected failures and sets the counts back; limits stay.
void ResetSwitches();

// Whether heap failures are injected at all: the one thing that an operation
// looks at when they aren't.
extern std::atomic<bool> sFailuresInjected;

bool AskPredicate(unsigned long long size);

// Whether an injected failure hits an operation for size bytes.
inline bool FailureInjected(unsigned long long size)
{
    return sFailuresInjected.load(std::memory_order_relaxed) && AskPredicate(size);
}
} // namespace tolv

#endif
