// Shared by the parts of the soak: eight threads that run all jobs at once, and one thread that
// shows their posted reports. No thread resolves texts while a job chooses another language.

#ifndef TESTS_SOAK_SOAK_H
#define TESTS_SOAK_SOAK_H

#include <random>

#include "tests/operations/Operations.h"

const int kThreads = 8;

// If `holds` is false, counts a violation and prints the first ones. Any thread. Returns `holds`.
bool Check(bool holds, const char* what);

// Counts a refused allocation. The limits may refuse one.
void Refused();

// One of the threads.
struct Worker
{
    Worker(int theNumber, U_u64 theSeed, const ExecutorPtr& executor)
        : number(theNumber), seed(theSeed), random(theSeed), own(theNumber + 1, executor)
    {
    }

    // Returns a random number from 0 to count - 1.
    U_u32 Below(U_u32 count) { return static_cast<U_u32>(random() % count); }

    const int number; // from 0
    const U_u64 seed;
    std::mt19937_64 random;
    Own own;
};

// A job runs once and checks the result.
struct Job
{
    const char* name;
    std::function<void(Worker&)> run;
    bool changesLanguage = false; // runs outside ScResolving
};

// A scope in which the calling thread may resolve texts. The threads of jobs enter between two
// jobs, and wait while a job wants to choose a language. The main thread waits only while a job
// chooses one, since jobs wait for functions on the main thread.
class ScResolving
{
public:
    enum Thread
    {
        kMain,
        kWorker
    };
    explicit ScResolving(Thread thread);
    ~ScResolving();
    ScResolving(const ScResolving&) = delete;
    ScResolving& operator=(const ScResolving&) = delete;
};

typedef std::vector<Job> Jobs;

// Each Start returns the jobs of its part, which threads share. Each End checks the sums.

Jobs StartMemory(); // sets limits at which the purge callback runs
void EndMemory();   // frees the cached blocks
long Purges();

Jobs StartContexts(); // lend contexts to two further threads
void EndContexts();

Jobs StartTexts(); // look texts up, and load dictionaries

Jobs StartErrors();
void EndErrors();
long Posted();
long Shown();

#endif
