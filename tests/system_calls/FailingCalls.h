// Failures of the calls to the system that the library, the C library below it, or a whole program
// makes. Linux only.

#ifndef TESTS_SYSTEM_CALLS_FAILINGCALLS_H
#define TESTS_SYSTEM_CALLS_FAILINGCALLS_H

#include <atomic>
#include <cstddef>
#include <new>
#include <vector>

#include <sys/types.h>

enum class Failure
{
    kError,       // the call fails with an error that it may have: ENOSPC, EMFILE, ENOMEM
    kInterrupted, // EINTR, for a call that may wait
    kShort,       // a read or a write moves half the bytes
    kClose,       // a close fails with EIO; all failures above let close succeed
    kInterruptedClose
};

// Which calls fail: shared with the children.
struct FailingCalls
{
    // The calls fail from the nth one on that the failure concerns, counted from 1: that one
    // call, or with `forGood` all later ones as well. Process: the caller.
    void Begin(Failure failure, long nth, bool forGood);
    void End();

    std::atomic<int> failure{0};
    std::atomic<long> first{0}; // 0: none fails
    std::atomic<long> last{0};
    std::atomic<long> count{0};
    std::atomic<bool> hasFailed{false};
    std::atomic<pid_t> process{0}; // whose calls fail
    std::atomic<bool> failed[512]; // by the number of the call, since the start
};

// Memory of zeros that a process shares with its children. Never null.
void* SharedMemory(std::size_t size);

// Returns an object that a process shares with its children. It is never destroyed.
template <class Object> Object& NewShared()
{
    return *new (SharedMemory(sizeof(Object))) Object();
}

// Returns the numbers of the calls, those of the tools alone or all others, that have not failed.
std::vector<int> NeverFailed(const FailingCalls& calls, bool ofTools);

// From here on the calls of this thread, of the threads that it starts, and of its children wait
// for Answer. Returns a descriptor for Answer, or -1 if the system does not allow this.
int InterceptCalls();

// Answers the calls until their threads have ended. The caller must not be one of these threads.
// `begin`: unless it is empty, only the calls of the process's first thread fail, and are counted
// from the first opening of a file on whose name starts so.
void Answer(int intercepted, FailingCalls& calls, const char* begin);

#endif
