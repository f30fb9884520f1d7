// Operations whose allocations fail one after the other.

#ifndef TESTS_FAULTS_FAULTS_H
#define TESTS_FAULTS_FAULTS_H

#include <atomic>
#include <functional>
#include <initializer_list>

#include "tests/support/BornLibrary.h"

// The result of one run of an operation, as bits of a mask.
enum Outcome : unsigned int
{
    kRight = 1, // the same result as with enough memory
    kNull = 2,
    kCode4 = 4,
    kThrown4 = 8, // the int
    kBadAlloc = 16,
    kLess = 32, // less than the right result, as the header of the operation allows
    kWrong = 64
};

inline Outcome RightIf(bool right, Outcome otherwise = kWrong)
{
    return right ? kRight : otherwise;
}

// Returns the outcome of a status code. `right`: the outputs are those of success. `whole`: the
// outputs are those of a failure.
inline Outcome OfCode(U_Status code, bool right, bool whole = true)
{
    if (code == 0)
        return RightIf(right);
    return code == U_Err_OutOfMemory && whole ? kCode4 : kWrong;
}

struct Operation
{
    const char* name;
    unsigned int failures;        // the outcomes that a failed allocation may have, besides kRight
    std::function<Outcome()> run; // does not change the use of the heap
    bool keeps = false;           // its result stays in the heap until death
};

class Faults : public BornLibrary
{
protected:
    // Drops log lines and alerts, whose allocations would be points too.
    void SetUp() override;

    // Fails the test if anything has leaked.
    void TearDown() override;

    // Runs each operation once for each of its allocations, which fails: one block of the heap,
    // one block and all later ones, and one operator new on the main thread and on another one.
    // After each run the operation must succeed again.
    void Walk(std::initializer_list<Operation> operations);

private:
    static void Silence();

    void WalkHeap(const Operation& operation, bool allAfter);
    void WalkNew(const Operation& operation);
    void Check(const Operation& operation, Outcome outcome, long point);

    U_u64 mUsed = 0;              // before the operation
    std::atomic<long> mPoints{0}; // allocations that have failed so far
};

#endif
