// The stack that goes to the log with grave reports.

#include <gmock/gmock.h>

#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/Text.h"

typedef BornLibrary StackCrawl;

TEST_F(StackCrawl, GoesWithProblemsAndFatalErrors)
{
    U_ReportError(0, U_Sev_WARNING, Units(u"text"));
    EXPECT_TRUE(mLog.Texts("StackCrawl").empty());
    for (U_u16 severity : {U_Sev_PROBLEM, U_Sev_FATAL})
    {
        mLog.Clear();
        U_ReportError(0, severity, Units(u"text"));
        EXPECT_THAT(mLog.Texts("StackCrawl"),
                    testing::ElementsAre(testing::ContainsRegex(
                        "FatalErrors_Test.*  \\(Line: [0-9]+  File: .*_crawl_test\\.cpp\\)\n")));
    }
}
