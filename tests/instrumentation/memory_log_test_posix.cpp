// The memory log in children of fork.

#include <cstdio>
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

#include "U_Lifecycle.h"
#include "tests/instrumentation/MemoryLogTest.h"

namespace
{
// Runs in a child of fork, which SIGALRM ends if it waits for a thread of its parent.
int CodeOfFork(const std::function<int()>& run)
{
    const pid_t child = fork();
    if (child == 0)
    {
        alarm(20);
        const int code = run();
        std::remove(MemoryLogPath().c_str());
        _exit(code);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
} // namespace

TEST(MemoryLogOnPosix, AChildOfForkStartsALogOfItsOwn)
{
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "a child of several threads inherits locks of the sanitizers, which another "
                    "thread of its parent may hold";
#endif
    InAProcess([] {
        AskForMemoryLog("true", "10");
        ASSERT_EQ(U_Birth("Memory Log", nullptr), 0);
        EXPECT_EQ(U_Death(), 0);
        EXPECT_EQ(CodeOfFork([] { return U_Birth("", nullptr) == 0 && Continues() ? 7 : 8; }), 7);
        EXPECT_TRUE(Continues()); // between two rows, a child that exits has no open file of a row
        EXPECT_EQ(CodeOfFork([]() -> int { std::exit(7); }), 7);
        EXPECT_TRUE(Continues());
    });
}
