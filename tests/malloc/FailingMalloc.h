// Makes the C library's malloc and its relatives fail. Operator new, thread-local storage, ICU and
// the C library's files allocate with malloc, and fail with it.

#ifndef TESTS_MALLOC_FAILINGMALLOC_H
#define TESTS_MALLOC_FAILINGMALLOC_H

// Makes allocations fail on all threads, counted from 1 over all threads: the nth one, and if
// `forGood` also all later ones.
void BeginFailingMalloc(long nth, bool forGood);

void EndFailingMalloc();

// Returns true if an allocation has failed since the last begin.
bool HasMallocFailed();

#endif
