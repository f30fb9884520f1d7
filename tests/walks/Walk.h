// Walks over all points at which something below the library may fail: an allocation of the C
// library, a call to the system.

#ifndef TESTS_WALKS_WALK_H
#define TESTS_WALKS_WALK_H

#include <functional>
#include <string>
#include <vector>

#include "tests/operations/Operations.h"

// A way to fail, on all threads.
struct Failing
{
    std::string name;
    std::function<void(long point)> begin; // the first failure is at this point, counted from 1
    void (*end)();
    bool (*hasFailed)();   // since the last begin
    unsigned int outcomes; // of an operation's failures, those that this way may have
    std::string leftOut;   // an operation that can't be the first of a thread
};

// Each walk requires that each way fails at some point, and with `inEach` also each operation.

// Runs each operation once for each point, which fails, on this thread and as the first operation
// of a thread. After each run the operation must succeed again, with the same use of the heap.
void WalkAll(const Operations& operations, const std::vector<Failing>& failings, bool inEach);

// Calls birth, and then death, in a child process once for each point, which fails. The memory log
// is on, and a report waits to be shown at death. A birth that fails must succeed once nothing
// fails; a death must succeed.
void WalkOverALife(const std::vector<Failing>& failings, bool inEach);

// Runs each operation once for each point, which fails, as the first operation of a process. The
// next run must succeed.
void WalkFirstUses(const Operations& operations, const std::vector<Failing>& failings, bool inEach);

#endif
