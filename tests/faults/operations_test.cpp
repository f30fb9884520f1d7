// All operations while allocations fail, and death after a first look-up that has failed.

#include <deque>

#include <platform/control.h>

#include "U_LStr.h"
#include "U_Lifecycle.h"
#include "tests/faults/Faults.h"
#include "tests/operations/Texts.h"
#include "tests/support/FailingNew.h"

TEST_F(Faults, EachOperationFailsAsPromisedAndThenSucceeds)
{
    Walk(AllOperations());
}

TEST_F(Faults, EachSoleOperationFailsAsPromisedAndThenSucceeds)
{
    platform::SetUserLocale("fr_FR");
    Walk(SoleOperations());
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
