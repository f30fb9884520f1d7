// The first use of a thread's own objects, with and without memory.

#include <atomic>
#include <cstdlib>
#include <functional>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include <krobase/executor.h>
#include <win32/exceptions.h>
#include <win32/locale.h>
#include <win32/text.h>

#include "tests/support/NoMemory.h"

namespace
{
// Runs use on a thread that was there before memory ran out, and ends the process: with 0 if
// use returns true.
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
} // namespace

TEST(PerThreadObjects, WithoutMemoryTheFirstUseFailsAndTheProcessGoesOn)
{
    SKIP_UNDER_SANITIZERS();
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto loop = krobase::threads::CreateAsyncEventLoopAdaptor();
    const std::pair<const char*, std::function<bool()>> rows[] = {
        {"a signal stack",
         [] {
             unsigned int size = win32::kLargestStackGuarantee;
             return win32::SetThreadStackGuarantee(&size) == 0;
         }},
        {"the formats of dates",
         [] {
             const win32::SYSTEMTIME time = {2020, 1, 0, 1, 0, 0, 0, 0};
             return win32::GetTimeFormatW(win32::kLocaleUserDefault, 0, &time, nullptr, nullptr,
                                          0) == 0 &&
                    win32::GetLastError() == win32::kErrorNotEnoughMemory;
         }},
        {"an event loop's thread", [&] { return !loop->IsExecutorThread(); }},
    };
    for (const auto& [name, use] : rows)
    {
        SCOPED_TRACE(name);
        EXPECT_EXIT(UseWithoutMemory(use), testing::ExitedWithCode(0), "");
    }
}
