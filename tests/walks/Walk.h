// Walks over all points at which something may fail: an allocation of the heap, of operator new or
// of the C library, a call to the system.

#ifndef TESTS_WALKS_WALK_H
#define TESTS_WALKS_WALK_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/operations/Operations.h"

// A way to fail, on all threads or on the thread that calls begin.
struct Failing
{
    std::string name;
    std::function<void(long point)> begin; // the first failure is at this point, counted from 1
    void (*end)();
    bool (*hasFailed)();   // since the last begin
    unsigned int outcomes; // of an operation's failures, those that this way may have
    std::string leftOut;   // an operation that can't be the first of a thread
};

const long kMostPoints = 5000; // ends the walk of an operation that fails at every point

class ScFailing
{
public:
    ScFailing(const Failing& failing, long point) : mFailing(failing) { failing.begin(point); }
    ~ScFailing() { mFailing.end(); }
    ScFailing(const ScFailing&) = delete;
    ScFailing& operator=(const ScFailing&) = delete;

private:
    const Failing& mFailing;
};

inline unsigned int AllowedBy(const Operation& operation, const Failing& failing)
{
    return kRight | (operation.failures & failing.outcomes);
}

// Counts the points that fail, of each way to fail and, with `inEach`, of each operation.
class Points
{
public:
    explicit Points(bool inEach) : mInEach(inEach) {}

    void Add(const Failing& failing, const std::string& operation, long points)
    {
        mCounts[failing.name] += points;
        if (mInEach)
            mCounts[operation] += points;
    }

    void Check() const
    {
        EXPECT_FALSE(mCounts.empty());
        for (const auto& [name, points] : mCounts)
            EXPECT_GT(points, 0) << name;
    }

private:
    const bool mInEach;
    std::map<std::string, long> mCounts;
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
// next run must succeed. `step`: only every step-th point fails.
void WalkFirstUses(const Operations& operations, const std::vector<Failing>& failings, bool inEach,
                   long step = 1);

#endif
