// All operations, and birth and death, while the C library's allocations fail. A process that
// ends is a failure: the library goes on without memory.

#include <vector>

#include "tests/malloc/FailingMalloc.h"
#include "tests/operations/Operations.h"
#include "tests/support/BornLibrary.h"
#include "tests/walks/Walk.h"

namespace
{
// A thread's first date opens forms of ICU, which crashes without memory for them.
const char kFormsOfICU[] = "U_SecondsToDateTimeString";

class Malloc : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        DropAlertsAndLogLines();
    }
};

// One allocation fails, or all from a point on.
std::vector<Failing> Failings()
{
    return {{"once", [](long point) { BeginFailingMalloc(point, false); }, &EndFailingMalloc,
             &HasMallocFailed, false, kFormsOfICU},
            {"for good", [](long point) { BeginFailingMalloc(point, true); }, &EndFailingMalloc,
             &HasMallocFailed, false, kFormsOfICU}};
}
} // namespace

TEST_F(Malloc, EachOperationFailsAsPromisedAndThenSucceeds)
{
    WalkAll(AllOperations(), Failings());
}

// The system allocates for files, threads, and names.
TEST_F(Malloc, CallsOfTheSystemFailAsPromised)
{
    WalkAll(SystemOperations(), Failings());
}

TEST(MallocOverALife, BirthFailsWithACodeAndDeathNeverFails)
{
    WalkOverALife(Failings());
}

TEST(MallocOverALife, FirstUsesFailAsPromisedAndThenSucceed)
{
    WalkFirstUses(TextOperations(), Failings());
}
