// Scoped loggers, compiled into the test, since the library does not export them.

#include <string>
#include <thread>
#include <tuple>

#include "tests/instrumentation/ScLoggerTest.h"
#include "tests/support/System.h"

TEST_F(ScLogger, EachSpanIsAppendedWithItsLength)
{
    const std::tuple<unsigned long long, unsigned long long, const char*> rows[] = {
        {1000, 1500001000, "1.500"},
        {5000000000, 3500000000, "1.500"}, // a clock that runs backwards
        {7, 499999, "0.000"},
        {0, 1ull << 63, "9223372036.855"},
    };
    std::string expected = "old\n";
    std::ofstream(mPath) << expected;
    for (const auto& [start, end, delta] : rows)
    {
        mTicks = start;
        {
            U_ScGlobalLogger logger(mPath.c_str());
            mTicks = end;
        }
        expected += Prefix() + " * log start\n" + Prefix() + " * log end: delta=" + delta + "\n";
        EXPECT_EQ(Written(), expected);
    }
}

TEST_F(ScLogger, LinesAreInTheFileWhenTheirCallReturns)
{
    U_ScGlobalLogger logger(mPath.c_str());
    std::string expected = Prefix() + " * log start\n";
    EXPECT_EQ(Written(), expected);

    const std::string longer(100000, 'x');
    logger.Printf("\t%llu\t%s", ~0ull, longer.c_str());
    expected += Prefix() + "\t18446744073709551615\t" + longer + "\n";
    EXPECT_EQ(Written(), expected);

    std::thread([&] {
        logger.Printf("%s", "");
        expected += Prefix() + "\n";
    }).join();
    EXPECT_EQ(Written(), expected);
}

TEST_F(ScLogger, WithoutStampsLinesAreTheirTextAlone)
{
    const std::string start = Prefix() + " * log start\n"; // written before the stamps end
    {
        PlainLogger logger(mPath.c_str());
        logger.Printf("%d%%", 7);
    }
    EXPECT_EQ(Written(), start + "7%\n * log end: delta=0.000\n");
}

TEST_F(ScLogger, AFileThatCannotBeOpenedThrowsTheReason)
{
    EXPECT_EQ(ThrownFor(mPath + "/missing/file"), ENOENT);
    EXPECT_EQ(ThrownFor(testing::TempDir()), IsWindows() ? EACCES : EISDIR);
}
