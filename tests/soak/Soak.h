// Shared by the parts of the soak: eight threads that run all jobs at once, and one thread that
// shows their posted reports.

#ifndef TESTS_SOAK_SOAK_H
#define TESTS_SOAK_SOAK_H

#include <atomic>
#include <random>
#include <vector>

#include <boost/shared_ptr.hpp>

#include <krobase/executor.h>

#include "U_Types.h"

const int kThreads = 8;

// If `holds` is false, counts a violation and prints the first ones. Any thread. Returns `holds`.
bool Check(bool holds, const char* what);
long Violations();

// Counts a refused allocation. The limits may refuse one.
void Refused();

// One of the threads.
struct Worker
{
    explicit Worker(int theNumber, U_u64 theSeed)
        : number(theNumber), seed(theSeed), random(theSeed)
    {
    }

    // Returns a random number from 0 to count - 1.
    U_u32 Below(U_u32 count) { return static_cast<U_u32>(random() % count); }

    const int number;
    const U_u64 seed;
    std::mt19937_64 random;
    U_u32 hog = 0;       // of this worker
    U_u32 sharedHog = 0; // of all workers
};

// A job runs one operation and checks the result.
struct Job
{
    const char* name;
    void (*run)(Worker&);
    std::atomic<long> runs;
};

extern Job gJobs[];
extern const int gJobCount;

// memory_jobs.cpp
void Blocks(Worker& worker);
void Recycled(Worker& worker);
void Hogs(Worker& worker);
void Caching(Worker& worker);
void Accounting(Worker& worker);
void StartMemory(); // sets limits at which the purge callback runs
void EndMemory();   // frees the cached blocks
long Purges();

// text_jobs.cpp
void ZStrings(Worker& worker);
void LStrs(Worker& worker);
void Formats(Worker& worker);
void Trees(Worker& worker);
void Escapes(Worker& worker);
void Telemetry(Worker& worker);
void StartTelemetry();
void EndTelemetry(); // checks that all events have arrived

// error_jobs.cpp
void Posts(Worker& worker);
void Grouped(Worker& worker);
void Quiet(Worker& worker);
void Deferred(Worker& worker);
void Callbacks(Worker& worker);
void Translators(Worker& worker);
void StartErrors();
void EndErrors(); // checks that each posted message was shown
long Posted();
long Shown();

// context_jobs.cpp
void Suspensions(Worker& worker);
void MainLoopCalls(Worker& worker);
void StartContexts(); // REQUIRES: called on the thread that pumps its messages
void EndContexts();

#endif
