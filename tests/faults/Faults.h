// Operations whose allocations fail one after the other.

#ifndef TESTS_FAULTS_FAULTS_H
#define TESTS_FAULTS_FAULTS_H

#include <atomic>
#include <functional>
#include <initializer_list>

#include "tests/support/BornLibrary.h"

// How one run of an operation ended, as bits of a mask.
enum Outcome : unsigned int
{
    kRight = 1, // the result that it has with enough memory
    kNull = 2,
    kCode4 = 4,
    kThrown4 = 8, // the int
    kBadAlloc = 16,
    kLess = 32, // less than the right result, as its header tells
    kWrong = 64
};

inline Outcome RightIf(bool right, Outcome otherwise = kWrong)
{
    return right ? kRight : otherwise;
}

// Of a status code; right and whole say whether the outputs are those of success and
// those of a failure.
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
    std::function<Outcome()> run; // leaves the use of the heap as it was
    bool keeps = false;           // its successes stay in the heap until death
};

class Faults : public BornLibrary
{
protected:
    // Log and alerts go nowhere: what they allocated would be points, too.
    void SetUp() override;

    // Fails the test if anything has leaked.
    void TearDown() override;

    // Walks each operation with each of its allocations failing in turn: of the heap,
    // alone and with all behind it, and of operator new, on the main thread and on
    // another. Behind each point the operation must succeed again.
    void Walk(std::initializer_list<Operation> operations);

private:
    static void Silence();

    void WalkHeap(const Operation& operation, bool allBehind);
    void WalkNew(const Operation& operation);
    void Check(const Operation& operation, Outcome outcome, long point);

    U_u64 mUsed = 0;              // before the operation
    std::atomic<long> mPoints{0}; // walked so far
};

#endif
