// Operations whose allocations fail one after the other.

#ifndef TESTS_FAULTS_FAULTS_H
#define TESTS_FAULTS_FAULTS_H

#include "tests/operations/Operations.h"
#include "tests/support/BornLibrary.h"

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
    void Walk(const Operations& operations);

private:
    void WalkHeap(const Operation& operation, Own& own, bool allAfter);
    void WalkNew(const Operation& operation, Own& own);
    void Check(const Operation& operation, Own& own, Outcome outcome, long point);

    U_u64 mUsed = 0;  // before the operation
    long mPoints = 0; // allocations that have failed so far
};

#endif
