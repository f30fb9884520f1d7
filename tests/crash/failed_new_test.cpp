// A failed operator new. This program defines none, so the platform's operator new is called, which
// knows the size.

#include <climits>
#include <iterator>
#include <new>
#include <thread>
#include <tuple>
#include <utility>

#include <win32/runtime.h>

#include "U_Lifecycle.h"
#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"
#include "tests/support/System.h"

namespace
{
// Bytes. Windows needs long to refuse a block that would fit the address space.
const std::size_t kTooMuch = std::size_t(1) << (IsWindows() ? 59 : 40);

// Returns the text of a size near kTooMuch in kilobytes.
std::string Kilobytes(const char* onPosix)
{
    return IsWindows() ? std::to_string(INT_MAX) : onPosix;
}

class OutOfMemory : public BornLibrary
{
protected:
    // A sanitizer's operator new calls no new handler.
    void SetUp() override
    {
        BornLibrary::SetUp();
        SKIP_UNDER_SANITIZERS();
    }

    const ScAddressSpaceLimit mLimit{kTooMuch / 2};
};

// Returns the text of the std::bad_alloc that is thrown; empty if none is.
template <class Allocate> std::string Caught(Allocate allocate)
{
    try
    {
        allocate();
    }
    catch (const std::bad_alloc& exception)
    {
        return exception.what();
    }
    return "";
}

struct alignas(64) Aligned
{
    char mBytes[64];
};
} // namespace

TEST_F(OutOfMemory, IsReportedWithTheSizeOnAMainThreadAndThrown)
{
    const std::pair<void* (*)(), std::string> rows[] = {
        {[] { return ::operator new(kTooMuch + 1); }, Kilobytes("1073741825")},
        {[] { return ::operator new(kTooMuch - 1); }, Kilobytes("1073741824")},
        {[] { return ::operator new(kTooMuch << 4); }, std::to_string(INT_MAX)},
        {[] { return ::operator new[](kTooMuch); }, Kilobytes("1073741824")},
        {[] { return static_cast<void*>(new Aligned[kTooMuch / 64]); }, Kilobytes("1073741824")},
        {[]() -> void* { return std::get_new_handler()(), nullptr; }, "0"}, // of no known size
        {[] { return ::operator new(kTooMuch, std::nothrow); }, Kilobytes("1073741824")},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        mAlerts.Clear();
        Up_SetThreadLastError(77);
        EXPECT_EQ(Caught(row.first), &row == std::end(rows) - 1 ? "" : "bad allocation");
        EXPECT_EQ(Up_GetThreadLastError(), 0u);
        EXPECT_EQ(mAlerts.Texts(), Texts{"Test Host: Out of memory. (" + row.second +
                                         "K requested)\n\n( 23 :: 40 )"});
    }
}

TEST_F(OutOfMemory, IsThrownWithoutAReportOnOtherThreadsAndWithinAReport)
{
    std::thread([] {
        EXPECT_EQ(Caught([] { return ::operator new(kTooMuch); }), "bad allocation");
        EXPECT_STREQ(Up_GetThreadLoggingBuffer(), "");
    }).join();
    EXPECT_EQ(mAlerts.Texts(), Texts());
    EXPECT_EQ(mLog.Texts(), Texts());

    int nested = 0;
    mAlerts.mWhileUp = [&](const platform::Alert&) {
        nested += Caught([] { return ::operator new(kTooMuch * 2); }) == "bad allocation";
    };
    EXPECT_EQ(Caught([] { return ::operator new(kTooMuch); }), "bad allocation");
    EXPECT_EQ(nested, 1);
    EXPECT_EQ(mAlerts.Texts().size(), 1u);
}

TEST_F(OutOfMemory, IsAlwaysABadAllocAfterALimitedNumberOfCalls)
{
    mAlerts.mWhileUp = [](const platform::Alert&) { throw "no std::exception"; };
    EXPECT_EQ(Caught([] { return ::operator new(kTooMuch); }), "bad allocation");
    EXPECT_EQ(::operator new(kTooMuch, std::nothrow), nullptr);
    EXPECT_EQ(mAlerts.Texts().size(), 2u);
    mAlerts.mWhileUp = nullptr;

    static int sCalls = 0;
    const std::tuple<const char*, win32::NewHandler, int> rows[] = {
        {"gives up", [](std::size_t) { return ++sCalls, 0; }, 1},
        {"throws a number", [](std::size_t) -> int { throw ++sCalls; }, 1},
        {"never gives up", [](std::size_t) { return ++sCalls; }, 10000},
    };
    for (const auto& [what, handler, calls] : rows)
    {
        SCOPED_TRACE(what);
        sCalls = 0;
        const win32::NewHandler before = win32::_set_new_handler(handler);
        EXPECT_NE(Caught([] { return ::operator new(kTooMuch); }), "");
        EXPECT_EQ(sCalls, calls);
        EXPECT_EQ(::operator new(kTooMuch, std::nothrow), nullptr);
        win32::_set_new_handler(before);
    }
}

// A handler that was installed over the platform's may call the platform's at any time later.
TEST_F(OutOfMemory, IsPassedOnToTheFirstHandlerOnceNoneIsInstalled)
{
    ASSERT_EQ(U_Death(), 0);
    static int sFirst = 0;
    static int sCovering = 0;
    static std::new_handler sFound = nullptr;
    const std::new_handler before = std::set_new_handler([] {
        ++sFirst;
        throw std::bad_alloc();
    });
    const win32::NewHandler tries = [](std::size_t) { return 0; };
    win32::_set_new_handler(tries);
    sFound = std::set_new_handler([] {
        ++sCovering;
        sFound();
    });
    EXPECT_EQ(win32::_set_new_handler(nullptr), tries);
    EXPECT_NE(Caught([] { return ::operator new(kTooMuch); }), "");
    EXPECT_EQ(sCovering, 1);
    EXPECT_EQ(sFirst, 1);
    EXPECT_EQ(win32::_set_new_handler(tries), nullptr);
    EXPECT_EQ(Caught([] { return ::operator new(kTooMuch); }), "bad allocation");
    std::set_new_handler(sFound);
    EXPECT_EQ(win32::_set_new_handler(nullptr), tries);
    EXPECT_EQ(win32::_set_new_handler(nullptr), nullptr);
    std::set_new_handler(before);
    EXPECT_EQ(U_Birth("Test Host", nullptr), 0);
}

TEST_F(OutOfMemory, TheNewHandlersOfTheHostAreInstalledAgainAfterDeath)
{
    ASSERT_EQ(U_Death(), 0);
    const std::new_handler hosts = [] { throw std::bad_alloc(); };
    const std::new_handler before = std::set_new_handler(hosts);
    EXPECT_EQ(before, nullptr);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    EXPECT_NE(std::get_new_handler(), hosts);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(std::get_new_handler(), hosts);
    std::set_new_handler(before);

    const win32::NewHandler ofRuntime = [](std::size_t) { return 0; };
    EXPECT_EQ(win32::_set_new_handler(ofRuntime), nullptr);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(win32::_set_new_handler(nullptr), ofRuntime);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
}
