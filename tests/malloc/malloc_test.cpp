// All operations, and birth and death, while the C library's allocations fail. A process that
// ends is a failure: the library returns, or throws, also without any memory.

#include <algorithm>
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

// Returns the operations that can be the first of a process.
Operations Fit(Operations operations)
{
    // The C library crashes without memory in its first look-up of a user. The others log a stack
    // trace, of which the first one of a process has too many points.
    const std::set<std::string_view> unfit = {
        "U_GetUsername",      "a missing attribute",        "illegal characters",
        "Up_ReportErrString", "U_ReportFailedVerification", "Up_AssertFailed"};
    const auto isUnfit = [&](const Operation& each) { return unfit.count(each.name) != 0; };
    operations.erase(std::remove_if(operations.begin(), operations.end(), isUnfit),
                     operations.end());
    return operations;
}
} // namespace

// The first test, since another would be the first use.
TEST(MallocOfFirstUses, FailAsPromisedAndThenSucceed)
{
    WalkFirstUses(Fit(MemoryOperations()), Failings(), true);
    WalkFirstUses(Fit(TextOperations()), Failings(), true);
    WalkFirstUses(Fit(DataOperations()), Failings(), true);
    WalkFirstUses(Fit(ContextOperations()), Failings(), false);
    WalkFirstUses(Fit(SystemOperations()), Failings(), false);
    platform::SetUserLocale("fr_FR");
    WalkFirstUses(Fit(SoleOperations()), Failings(), false);
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
