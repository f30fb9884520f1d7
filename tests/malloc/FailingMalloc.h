// Failures of the C library's own allocations. Below the library, they are also those of the
// language's runtime, of thread-local storage, of ICU and of files.

#ifndef TESTS_MALLOC_FAILINGMALLOC_H
#define TESTS_MALLOC_FAILINGMALLOC_H

// Makes allocations fail on all threads, counted from 1 over all threads: the nth one, and if
// `forGood` also all later ones.
void BeginFailingMalloc(long nth, bool forGood);

void EndFailingMalloc();

// Returns true if an allocation has failed since the last begin.
bool HasMallocFailed();

#endif
