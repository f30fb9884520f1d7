// Helpers of the platform: printable text, objects of one thread, and immutable strings.

#include <atomic>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include <krobase/executor.h>
#include <krobase/high_precision_time.h>
#include <krobase/immutable_string.h>
#include <platform/base/printable.h>
#include <win32/exceptions.h>

#include "tests/support/NoMemory.h"
#include "tests/support/OnThreads.h"

using krobase::utility::ImmutableString;

namespace
{
TEST(PrintableText, HasNoByteThatControlsATerminalOrEndsALine)
{
    const std::pair<std::string, const char*> kRows[] = {
        {"", ""},
        {"größer ^1 \\n 日本語 😀 \u00A0\uFFFD", "größer ^1 \\n 日本語 😀 \u00A0\uFFFD"},
        {"a\nb\rc\td", "a\\nb\\rc\\td"},
        {"\x1B[31m\a\x7F", "\\x1B[31m\\x07\\x7F"},
        {std::string("\0x", 2), "\\x00x"},
        // U+0080 to U+009F, as characters and as bytes of a code page.
        {"\u009B2J\u0085\u0080x\u009F", "\\xC2\\x9B2J\\xC2\\x85\\xC2\\x80x\\xC2\\x9F"},
        {"\x9B"
         "2J\x80",
         "\\x9B2J\\x80"},
        {"a\u2028b\u2029\u2030", "a\\xE2\\x80\\xA8b\\xE2\\x80\\xA9\u2030"},
        {"gr\xF6\xDF"
         "er",
         "gr\\xF6\\xDFer"},
        {"\xC3\xC3\xB6\xC3", "\\xC3ö\\xC3"},
        {"\xE2\x82\xE2\x82\xAC\xF0\x9F\x98", "\\xE2\\x82€\\xF0\\x9F\\x98"},
        {"\xC0\x8A\xE0\x80\x8A\xED\xA0\x80\xF4\x90\x80\x80",
         "\\xC0\\x8A\\xE0\\x80\\x8A\\xED\\xA0\\x80\\xF4\\x90\\x80\\x80"},
        {"\xC2\x1B[m", "\\xC2\\x1B[m"},
    };
    for (const auto& [text, expected] : kRows)
        EXPECT_EQ(platform::Printable(text), expected);
    EXPECT_EQ(platform::Printable("a\n\tb\r\n\u0085", "\t\n"), "a\n\tb\\r\n\\xC2\\x85");
}

TEST(Ticks, TheMostTicksAreTheMostNanoseconds)
{
    EXPECT_EQ(krobase::utility::HighPrecisionTime::ConvertToNanos(~0ull), 0x7FFFFFFFFFFFFFFF);
}

// Calls `use` without memory, on a thread that started before. Ends the process with 0 if `use`
// returns true.
[[noreturn]] void UseWithoutMemory(const std::function<bool()>& use)
{
    std::atomic<bool> isOut(false);
    bool isSoft = false;
    std::thread user([&] {
        while (!isOut)
            std::this_thread::yield();
        isSoft = use();
    });
    const ScNoMemory noMemory;
    isOut = true;
    user.join();
    std::_Exit(isSoft ? 0 : 1);
}

TEST(PerThreadObjects, FailTheirFirstUseWithoutMemoryAndTheProcessGoesOn)
{
    SKIP_UNLESS_MEMORY_CAN_BE_LIMITED();
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto loop = krobase::threads::CreateAsyncEventLoopAdaptor();
    const std::pair<const char*, std::function<bool()>> rows[] = {
        {"a signal stack",
         [] {
             unsigned int size = win32::kLargestStackGuarantee;
             return win32::SetThreadStackGuarantee(&size) == 0;
         }},
        {"an event loop's thread", [&] { return !loop->IsExecutorThread(); }},
    };
    for (const auto& [name, use] : rows)
    {
        SCOPED_TRACE(name);
        EXPECT_EXIT(UseWithoutMemory(use), testing::ExitedWithCode(0), "");
    }
}

TEST(ImmutableStrings, ThreadsAgreeWhileTextsComeAndGo)
{
    OnThreads(4, [](int) {
        for (int round = 0; round < 20000; ++round)
        {
            const ImmutableString one("passing");
            const ImmutableString two("passing");
            ASSERT_EQ(one, two);
            ASSERT_NE(one, ImmutableString("other"));
            ASSERT_STREQ(one.Text(), "passing");
        }
    });
}
} // namespace
