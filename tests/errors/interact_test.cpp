#include "U_Interact.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include <malloc.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "U_Lifecycle.h"
#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/Text.h"

namespace
{
const U_u32 kMaskAtBirth = 0xFFBFFF9F;

typedef BornLibrary Interact;
} // namespace

TEST_F(Interact, BirthSetsTheMaskAndDropsTemporaryOnes)
{
    EXPECT_EQ(Up_GetInteract(), kMaskAtBirth);
    const U_u32 id = Up_SetInteractTemp(1);
    ASSERT_EQ(U_Death(), 0);
    ASSERT_EQ(U_Birth("Another life", nullptr), 0);
    EXPECT_EQ(Up_GetInteract(), kMaskAtBirth);
    EXPECT_EQ(Up_SetInteractTemp(2), id + 1);
    Up_SetInteractTempComplete(id + 1);
    EXPECT_EQ(Up_GetInteract(), kMaskAtBirth);
}

TEST_F(Interact, TemporaryMasksAreCompletedInAnyOrder)
{
    // Which of three masks is completed at each step, and the mask in force then.
    struct Row
    {
        size_t completed[3];
        U_u32 inForce[3];
    };
    const Row rows[] = {
        {{0, 1, 2}, {13, 13, 10}}, {{0, 2, 1}, {13, 12, 10}}, {{1, 0, 2}, {13, 13, 10}},
        {{1, 2, 0}, {13, 11, 10}}, {{2, 0, 1}, {12, 12, 10}}, {{2, 1, 0}, {12, 11, 10}},
    };
    for (const Row& row : rows)
    {
        Up_SetInteract(10);
        U_u32 ids[3] = {};
        for (U_u32 number = 0; number < 3; ++number)
        {
            ids[number] = Up_SetInteractTemp(11 + number);
            EXPECT_EQ(Up_GetInteract(), 11 + number);
        }
        for (size_t step = 0; step < 3; ++step)
        {
            SCOPED_TRACE(row.completed[step]);
            Up_SetInteractTempComplete(ids[row.completed[step]]);
            EXPECT_EQ(Up_GetInteract(), row.inForce[step]);
        }
    }
}

TEST_F(Interact, ANewBaseMaskVoidsTemporaryOnes)
{
    const U_u32 id = Up_SetInteractTemp(5);
    Up_SetInteract(6);
    for (U_u32 none : {id, id + 1000, 0u, 0xFFFFFFFF}) // the last is the base's own
    {
        Up_SetInteractTempComplete(none);
        EXPECT_EQ(Up_GetInteract(), 6u);
    }

    // Nothing tells but the memory that they would take.
    const size_t kRounds = 10000;
    const size_t before = mallinfo2().uordblks;
    for (size_t round = 0; round < kRounds; ++round)
    {
        Up_SetInteractTemp(5);
        Up_SetInteract(6);
    }
    EXPECT_LT(mallinfo2().uordblks, before + kRounds);
}

TEST_F(Interact, ThreadsNarrowTheMaskAtOnce)
{
    std::atomic<int> running(0);
    const auto narrow = [&running] {
        ++running;
        while (running < 2)
            std::this_thread::yield();
        for (int round = 0; round < 100000; ++round)
        {
            const U_u32 id = Up_SetInteractTemp(5);
            EXPECT_EQ(Up_GetInteract(), 5u); // the other's is the same
            Up_SetInteractTempComplete(id);
        }
    };
    std::thread other(narrow);
    narrow();
    other.join();
    EXPECT_EQ(Up_GetInteract(), kMaskAtBirth);
}

TEST(InteractDeathTest, ThereIsNoMaskBeforeTheFirstBirth)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(Up_GetInteract() == 0 ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(Interact, TheNameIsCutAndErrorsAreCounted)
{
    ASSERT_EQ(U_Death(), 0);
    char name[31] = "before";
    U_u32 errors = 77;
    EXPECT_EQ(U_GetName(name), 5889);
    EXPECT_EQ(U_GetHowManyErrors(&errors), 5889);
    EXPECT_STREQ(name, "before");
    EXPECT_EQ(errors, 77u);

    ASSERT_EQ(U_Birth("123456789 123456789 123456789 123", nullptr), 0);
    std::memset(name, 'x', sizeof(name));
    EXPECT_EQ(U_GetName(name), 0);
    EXPECT_STREQ(name, "123456789 123456789 123456789 ");
    EXPECT_EQ(U_GetHowManyErrors(&errors), 0);
    EXPECT_EQ(errors, 0u);
    U_ReportError(0, U_Sev_MESSAGE, Units(u"text"));
    EXPECT_EQ(U_GetHowManyErrors(&errors), 0);
    EXPECT_EQ(errors, 1u);
    EXPECT_EQ(U_GetName(nullptr), 3);
    EXPECT_EQ(U_GetHowManyErrors(nullptr), 3);

    ASSERT_EQ(U_Death(), 0);
    const ScActiveCodePage japanese(932);
    ASSERT_EQ(U_Birth("123456789 123456789 123456789\x83\x5C", nullptr), 0);
    EXPECT_EQ(U_GetName(name), 0);
    EXPECT_STREQ(name, "123456789 123456789 123456789");
}

TEST(ComputerName, IsTerminatedInWhateverRoom)
{
    char whole[256] = {};
    ASSERT_EQ(gethostname(whole, sizeof(whole)), 0);
    const size_t length = std::strlen(whole);
    ASSERT_GT(length, 0u);
    for (size_t size = 0; size <= length + 2; ++size)
    {
        SCOPED_TRACE(size);
        char name[260];
        std::memset(name, 'x', sizeof(name));
        EXPECT_EQ(U_GetComputerName(static_cast<U_u32>(size), name), size > length ? 0 : -1);
        EXPECT_EQ(name[size], 'x');
        if (size > 0)
        {
            EXPECT_EQ(std::string(name), std::string(whole, std::min(length, size - 1)));
        }
    }
    char name[260];
    EXPECT_EQ(U_GetComputerName(0xFFFFFFFF, name), 0);
    EXPECT_STREQ(name, whole);
    EXPECT_EQ(U_GetComputerName(100, nullptr), -1);
}
