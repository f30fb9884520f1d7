// All operations, and birth and death, while the C library's allocations fail. A process that
// ends is a failure: the library returns, or throws, also without any memory.

#include <set>
#include <string_view>
#include <vector>

#include <platform/control.h>

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
             &HasMallocFailed, ~static_cast<unsigned int>(kLost), kFormsOfICU},
            {"for good", [](long point) { BeginFailingMalloc(point, true); }, &EndFailingMalloc,
             &HasMallocFailed, ~0u, kFormsOfICU}};
}

// Operations that log a stack trace, for which the first one of a process allocates very often.
const std::set<std::string_view> kTracing = {"a missing attribute", "illegal characters",
                                             "Up_ReportErrString", "U_ReportFailedVerification",
                                             "Up_AssertFailed"};

// Runs the operations as the first of a process. Each point of an operation fails, but only every
// hundredth one of those that log a stack trace.
void WalkFirst(const Operations& operations, bool inEach)
{
    const long kStep = 100;
    Operations all;
    Operations tracing;
    for (const Operation& operation : operations)
    {
        // The C library crashes without memory in its first look-up of a user.
        if (operation.name != std::string_view("U_GetUsername"))
            (kTracing.count(operation.name) ? tracing : all).push_back(operation);
    }
    WalkFirstUses(all, Failings(), inEach);
    if (!tracing.empty())
        WalkFirstUses(tracing, Failings(), true, kStep);
}
} // namespace

// The first test, since another would be the first use.
TEST(MallocOfFirstUses, FailAsPromisedAndThenSucceed)
{
    WalkFirst(MemoryOperations(), true);
    WalkFirst(TextOperations(), true);
    WalkFirst(DataOperations(), true);
    WalkFirst(ContextOperations(), false);
    WalkFirst(SystemOperations(), false);
    platform::SetUserLocale("fr_FR");
    WalkFirst(SoleOperations(), false);
    platform::SetUserLocale(nullptr);
}

TEST_F(Malloc, EachOperationFailsAsPromisedAndThenSucceeds)
{
    WalkAll(AllOperations(), Failings(), true);
}

TEST_F(Malloc, EachSoleOperationFailsAsPromisedAndThenSucceeds)
{
    platform::SetUserLocale("fr_FR");
    WalkAll(SoleOperations(), Failings(), true);
}

// The system allocates for files and threads.
TEST_F(Malloc, CallsOfTheSystemFailAsPromised)
{
    WalkAll(SystemOperations(), Failings(), false);
}

TEST(MallocOverALife, BirthFailsWithACodeAndDeathNeverFails)
{
    WalkOverALife(Failings(), true);
}
