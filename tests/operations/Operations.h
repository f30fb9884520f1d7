// Operations of the library, each with the check of its result. Walks fail each allocation, and
// each call to the system, of an operation in turn. Another thread runs an operation while the
// alert of its failed allocation is up. The soak runs operations on eight threads.

#ifndef TESTS_OPERATIONS_OPERATIONS_H
#define TESTS_OPERATIONS_OPERATIONS_H

#include <atomic>
#include <cstddef>
#include <functional>
#include <new>
#include <vector>

#include <zelboxmp/xmp.h>

#include "tests/contexts/CountingState.h"

// The result of one run of an operation, as bits of a mask.
enum Outcome : unsigned int
{
    kRight = 1, // the same result as with enough memory
    kNull = 2,
    kCode4 = 4,
    kThrown4 = 8, // the int
    kBadAlloc = 16,
    kLess = 32, // less than the right result, as the header of the operation allows
    kLost = 64, // no alert of a report, for which there is no memory for good
    kWrong = 128
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

// Runs a step. If the step throws std::bad_alloc, all must be as before the step.
template <class Step, class IsIntact> void RunOrLeaveIntact(Step step, IsIntact isIntact)
{
    try
    {
        step();
    }
    catch (const std::bad_alloc&)
    {
        if (!isIntact())
            throw kWrong;
        throw;
    }
}

bool IsFilled(const void* data, int byte, std::size_t size);

// The data of one thread, made with memory. The operations of a thread change only its own data.
struct Own
{
    // The number differs from those of other threads, and is not 0.
    explicit Own(int theNumber, ExecutorPtr theExecutor = MakeExecutor());
    ~Own();
    Own(const Own&) = delete;
    Own& operator=(const Own&) = delete;

    static const U_u32 kFilled = 20; // bytes of each of the handles below, all `number`

    const unsigned char number;
    U_u32 size = 1000; // bytes of the blocks that the operations make
    void** handle;
    void** toolboxHandle;
    void** hogHandle = nullptr; // the only handle of the hog
    U_u32 hog = 0;
    __XMPMeta__* const metadata;
    std::atomic<int> measured{0}; // calls of the thread's external memory manager
    const ContextPtr context;     // with a CountingState
    const ExecutorPtr executor;
};

struct Operation
{
    const char* name;
    unsigned int failures; // the outcomes that a failed allocation may have, besides kRight
    std::function<Outcome(Own&)> run; // does not change the use of the heap
    bool keeps = false;               // its result stays in the heap until death; not in the soak
};

typedef std::vector<Operation> Operations;

// Runs the operation. An exception is an outcome too.
Outcome OutcomeOf(const Operation& operation, Own& own);

Operations MemoryOperations();
Operations TextOperations();
Operations DataOperations();
Operations ContextOperations(); // and threads, reports and the platform
Operations AllOperations();
Operations SystemOperations(); // in which the system allocates or opens something; not in the above
Operations SoleOperations();   // for one thread at a time, in the locale fr_FR; not in the above

// Drops log lines, and alerts but for those that SoleOperations count.
void DropAlertsAndLogLines();

// Registers the state that the contexts of Own have, until the scope ends.
class ScOperations
{
public:
    ScOperations();
    ~ScOperations();
    ScOperations(const ScOperations&) = delete;
    ScOperations& operator=(const ScOperations&) = delete;
};

#endif
