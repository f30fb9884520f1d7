// The stack that goes to the log with grave reports.

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <sys/mman.h>

#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/Text.h"

namespace
{
class StackCrawl : public BornLibrary
{
protected:
    std::vector<std::string> Lines() const
    {
        std::vector<std::string> all;
        for (const std::string& crawl : mLog.Texts("StackCrawl"))
        {
            std::istringstream lines(crawl);
            for (std::string line; std::getline(lines, line);)
                all.push_back(line);
        }
        return all;
    }
};

void ReportProblem()
{
    U_ReportError(0, U_Sev_PROBLEM, Units(u"text"));
}
} // namespace

TEST_F(StackCrawl, GoesWithProblemsAndFatalErrors)
{
    U_ReportError(0, U_Sev_WARNING, Units(u"text"));
    EXPECT_TRUE(mLog.Texts("StackCrawl").empty());
    for (U_u16 severity : {U_Sev_PROBLEM, U_Sev_FATAL})
    {
        mLog.Clear();
        U_ReportError(0, severity, Units(u"text"));
        EXPECT_EQ(mLog.Texts("StackCrawl").size(), 1u);
        EXPECT_THAT(Lines(),
                    testing::Contains(testing::MatchesRegex(
                        ".*FatalErrors_Test.*  \\(Line: [0-9]+  File: .*_crawl_test\\.cpp\\)")));
    }
}

#if defined(__x86_64__)
TEST_F(StackCrawl, GivesTheAddressOfWhatHasNoName)
{
    // A function that calls its argument, and that no file has symbols for.
    const unsigned char kCode[] = {0x48, 0x83, 0xEC, 0x08, // sub rsp, 8
                                   0xFF, 0xD7,             // call rdi
                                   0x48, 0x83, 0xC4, 0x08, // add rsp, 8
                                   0xC3};                  // ret
    void* const page =
        mmap(nullptr, sizeof(kCode), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    std::memcpy(page, kCode, sizeof(kCode));
    ASSERT_EQ(mprotect(page, sizeof(kCode), PROT_READ | PROT_EXEC), 0);
    void (*call)(void (*)()) = nullptr;
    std::memcpy(&call, &page, sizeof(call));
    call(&ReportProblem);
    const std::string address =
        std::to_string(reinterpret_cast<std::intptr_t>(page) + 6); // behind the call
    munmap(page, sizeof(kCode));
    ASSERT_EQ(mLog.Texts("StackCrawl").size(), 1u);
    EXPECT_THAT(Lines(), testing::Contains("\?\?\? <" + address + ">"));
}
#endif
