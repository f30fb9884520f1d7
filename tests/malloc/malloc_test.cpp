// All operations, and birth and death, while the C library's allocations fail. A process that
// ends is a failure: the library returns, or throws, also without any memory.

#include <algorithm>
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
} // namespace

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

// Without the families that report problems: the first stack trace of a process takes long.
TEST(MallocOverALife, FirstUsesFailAsPromisedAndThenSucceed)
{
    // The C library crashes without memory in its first look-up of a user.
    const auto looksUpUser = [](const Operation& each) {
        return each.name == std::string_view("U_GetUsername");
    };
    Operations contexts = ContextOperations();
    contexts.erase(std::remove_if(contexts.begin(), contexts.end(), looksUpUser), contexts.end());
    WalkFirstUses(MemoryOperations(), Failings(), true);
    WalkFirstUses(TextOperations(), Failings(), true);
    WalkFirstUses(contexts, Failings(), false);
    WalkFirstUses(SystemOperations(), Failings(), false);
}
