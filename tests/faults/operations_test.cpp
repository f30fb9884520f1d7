// All operations while allocations fail, and death after a first look-up that has failed.

#include <deque>
#include <optional>

#include "U_LStr.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "tests/operations/Texts.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/System.h"
#include "tests/walks/Walk.h"

namespace
{
long sPoint = 0;             // the first block of the heap that fails
std::atomic<long> sAsked{0}; // blocks of the heap since the last begin
std::optional<ScFailingNew> sFailingNew;

Failing FailingHeap(const char* name, bool forGood)
{
    const auto begin = [=](long point) {
        sPoint = point;
        sAsked = 0;
        platform::SetHeapFailure([=](unsigned long long) {
            const long nth = ++sAsked;
            return forGood ? nth >= point : nth == point;
        });
    };
    return {name,
            begin,
            [] { platform::SetHeapFailure({}); },
            []() -> bool { return sAsked >= sPoint; },
            ~static_cast<unsigned int>(kLost),
            ""};
}

// All heap blocks may fail, but no operator new for good.
const std::vector<Failing> kFailings = {
    FailingHeap("one heap block", false),
    FailingHeap("all heap blocks from a point on", true),
    {"operator new", [](long point) { sFailingNew.emplace(point); }, [] { sFailingNew.reset(); },
     []() -> bool { return sFailingNew->HasFailed(); }, ~static_cast<unsigned int>(kLost), ""}};

class Faults : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        DropAlertsAndLogLines();
    }

    // Fails the test if anything has leaked.
    void TearDown() override
    {
        U_DisplayPostedErrors();
        const CapturedLog log;
        BornLibrary::TearDown();
        EXPECT_EQ(log.Texts("MEM_DumpLeaks"), Texts());
        EXPECT_EQ(CountingState::sLiving, 0);
    }
};
} // namespace

TEST_F(Faults, EachOperationFailsAsPromisedAndThenSucceeds)
{
    WalkAll(AllOperations(), kFailings, !IsWindows());
}

TEST_F(Faults, EachSoleOperationFailsAsPromisedAndThenSucceeds)
{
    platform::SetUserLocale("fr_FR");
    WalkAll(SoleOperations(), kFailings, !IsWindows());
}

TEST_F(Faults, LStrTableWhoseFirstLookupFailedIsCleanedAtDeath)
{
    std::deque<Table> tables(1);
    const char* text = nullptr;
    const auto lookUp = [&] { text = U_ZLookupLStrCache(&tables.back(), 0, 0, nullptr); };
    FailEachNew(lookUp, [&](long) {
        lookUp();
        EXPECT_STREQ(text, Table::kText) << "the next call tries again";
        tables.emplace_back();
    });
    ASSERT_EQ(U_Death(), 0);
    for (const Table& table : tables)
        EXPECT_EQ(table.rows[0].mEnglish, nullptr);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
}
