// Failures of the C library's own allocations. Below the library, they are also those of the
// language's runtime, of thread-local storage, of ICU and of files.

#ifndef TESTS_MALLOC_FAILINGMALLOC_H
#define TESTS_MALLOC_FAILINGMALLOC_H

// Makes allocations fail on all threads until the scope ends, counted from 1 over all threads:
// the nth one, and if `forGood` also all later ones.
class ScFailingMalloc
{
public:
    ScFailingMalloc(long nth, bool forGood);
    ~ScFailingMalloc();
    ScFailingMalloc(const ScFailingMalloc&) = delete;
    ScFailingMalloc& operator=(const ScFailingMalloc&) = delete;

    // Returns true if an allocation has failed in the present scope, or else in the last one.
    static bool HasFailed();
};

#endif
