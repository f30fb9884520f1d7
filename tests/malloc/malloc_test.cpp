// All operations, and birth and death, while the C library's allocations fail. A process that
// ends is a failure: the library goes on without memory.

#include <string>
#include <vector>

#include "tests/malloc/FailingMalloc.h"
#include "tests/malloc/Walk.h"
#include "tests/operations/Operations.h"
#include "tests/operations/Texts.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/Text.h"

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

TEST_F(Malloc, ALanguageThatFailsToLoadIsLoadedByTheNextCall)
{
    DictionaryImage german = BinaryImage({{"/malloc/text", u"ein Text, der lang genug ist"}});
    DictionaryImage lines = TextImage(u"\"$$$/malloc/line=eine Zeile mit einem langen Text\"\r\n");
    WalkAll({{"an image", kCode4 | kBadAlloc,
              [&](Own&) {
                  return OfTextFrom(german, "$$$/malloc/text=x", "ein Text, der lang genug ist");
              },
              true},
             {"lines", kCode4 | kBadAlloc,
              [&](Own&) {
                  return OfTextFrom(lines, "$$$/malloc/line=x", "eine Zeile mit einem langen Text");
              },
              true}},
            Failings());
}

TEST(MallocOverALife, BirthFailsWithACodeAndDeathNeverFails)
{
    WalkOverALife(Failings());
}
