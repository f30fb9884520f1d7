// An operator new that fails. This program has none of its own, so the platform's is
// the one that knows the size.

#include <climits>
#include <new>
#include <string>
#include <thread>

#include <gmock/gmock.h>

#include <sys/resource.h>

#include <control.h>
#include <quiet_new.h>
#include <win32/runtime.h>

#include "U_Lifecycle.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "tests/support/BornLibrary.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SKIP_WITHOUT_NEW() GTEST_SKIP() << "a sanitizer's operator new calls no new handler"
#else
#define SKIP_WITHOUT_NEW() ((void)0)
#endif

namespace
{
const std::size_t kTooMuch = std::size_t(1) << 40; // bytes

class OutOfMemory : public BornLibrary
{
protected:
    // No more address space than this test can't do without.
    void SetUp() override
    {
        BornLibrary::SetUp();
        getrlimit(RLIMIT_AS, &mBefore);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        rlimit limit = mBefore;
        limit.rlim_cur = kTooMuch / 2;
        setrlimit(RLIMIT_AS, &limit);
#endif
    }
    void TearDown() override
    {
        setrlimit(RLIMIT_AS, &mBefore);
        BornLibrary::TearDown();
    }

private:
    rlimit mBefore;
};

std::string Told(const std::string& kilobytes)
{
    return "Out of memory. (" + kilobytes + "K requested)";
}

// The text of what is thrown; empty if nothing is.
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
    SKIP_WITHOUT_NEW();
    struct Row
    {
        const char* what;
        void* (*allocate)();
        std::string kilobytes;
        bool throws;
    };
    const Row rows[] = {
        {"whole", [] { return ::operator new(kTooMuch); }, "1073741824", true},
        {"a byte more", [] { return ::operator new(kTooMuch + 1); }, "1073741825", true},
        {"a byte less", [] { return ::operator new(kTooMuch - 1); }, "1073741824", true},
        {"more than the text takes", [] { return ::operator new(kTooMuch << 4); },
         std::to_string(INT_MAX), true},
        {"array", [] { return ::operator new[](kTooMuch); }, "1073741824", true},
        {"aligned", [] { return static_cast<void*>(new Aligned[kTooMuch / 64]); }, "1073741824",
         true},
        {"without exceptions", [] { return ::operator new(kTooMuch, std::nothrow); }, "1073741824",
         false},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.what);
        mAlerts.Clear();
        Up_SetThreadLastError(77);
        EXPECT_EQ(Caught(row.allocate), row.throws ? "bad allocation" : "");
        char text[U_ReportTextSize] = {};
        U_u16 severity = 0;
        U_u32 location = 0;
        U_u32 error = 0;
        U_GetLastError(text, &severity, &location, &error);
        EXPECT_EQ(text, Told(row.kilobytes));
        EXPECT_EQ(severity, U_Sev_INFO);
        EXPECT_EQ(location, 0x170028u);
        EXPECT_EQ(error, 0u);
        EXPECT_THAT(mAlerts.Texts(), testing::ElementsAre(testing::HasSubstr(Told(row.kilobytes))));
    }
}

TEST_F(OutOfMemory, IsThrownWithoutAReportElsewhere)
{
    SKIP_WITHOUT_NEW();
    std::thread([] {
        EXPECT_EQ(Caught([] { return ::operator new(kTooMuch); }), "bad allocation");
        try
        {
            ::operator delete(::operator new(kTooMuch));
        }
        catch (std::exception& exception)
        {
            EXPECT_EQ(U_TranslateAndReportException(exception), 4);
        }
        char text[U_ReportTextSize] = "before";
        U_GetLastError(text, nullptr, nullptr, nullptr);
        EXPECT_STREQ(text, "");
    }).join();
    EXPECT_TRUE(mAlerts.Texts().empty());
    EXPECT_EQ(mLog.Texts(), std::vector<std::string>());
}

TEST_F(OutOfMemory, IsReportedOnceIfTheReportRunsOutToo)
{
    SKIP_WITHOUT_NEW();
    int nested = 0;
    mAlerts.mWhileUp = [&](const platform::Alert&) {
        nested += Caught([] { return ::operator new(kTooMuch * 2); }) == "bad allocation";
    };
    EXPECT_EQ(Caught([] { return ::operator new(kTooMuch); }), "bad allocation");
    EXPECT_EQ(nested, 1);
    EXPECT_EQ(mAlerts.Texts().size(), 1u);
}

// Whatever goes wrong on the way: no other exception, and an end.
TEST_F(OutOfMemory, IsAlwaysStandardsOwnException)
{
    SKIP_WITHOUT_NEW();
    mAlerts.mWhileUp = [](const platform::Alert&) { throw "no std::exception"; };
    EXPECT_EQ(Caught([] { return ::operator new(kTooMuch); }), "bad allocation");
    EXPECT_EQ(::operator new(kTooMuch, std::nothrow), nullptr);
    EXPECT_EQ(mAlerts.Texts().size(), 2u);
    mAlerts.mWhileUp = nullptr;

    static int sCalls = 0;
    struct Row
    {
        const char* what;
        win32::NewHandler handler;
        int calls;
    };
    const Row rows[] = {
        {"gives up", [](std::size_t) { return ++sCalls, 0; }, 1},
        {"throws a number", [](std::size_t) -> int { throw ++sCalls; }, 1},
        {"promises for ever", [](std::size_t) { return ++sCalls; }, 10000},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.what);
        sCalls = 0;
        const win32::NewHandler before = win32::_set_new_handler(row.handler);
        EXPECT_NE(Caught([] { return ::operator new(kTooMuch); }), "");
        EXPECT_EQ(sCalls, row.calls);
        EXPECT_EQ(::operator new(kTooMuch, std::nothrow), nullptr);
        win32::_set_new_handler(before);
    }
}

// Whoever takes the place of the platform's handler may call it for ever after.
TEST_F(OutOfMemory, GoesOnToWhoStoodThereFirst)
{
    SKIP_WITHOUT_NEW();
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
    for (int life = 0; life < 3; ++life)
    {
        SCOPED_TRACE(life);
        EXPECT_EQ(win32::_set_new_handler(nullptr), tries);
        sFirst = sCovering = 0;
        EXPECT_NE(Caught([] { return ::operator new(kTooMuch); }), "");
        EXPECT_EQ(sCovering, 1);
        EXPECT_EQ(sFirst, 1);
        {
            const platform::ScQuietNew quiet;
            EXPECT_EQ(Caught([] { return ::operator new(kTooMuch); }), "bad allocation");
        }
        EXPECT_EQ(sFirst, 1);
        EXPECT_EQ(win32::_set_new_handler(tries), nullptr);
        EXPECT_EQ(Caught([] { return ::operator new(kTooMuch); }), "bad allocation");
    }
    std::set_new_handler(sFound);
    EXPECT_EQ(win32::_set_new_handler(nullptr), tries);
    std::set_new_handler(before);
    EXPECT_EQ(U_Birth("Test Host", nullptr), 0);
}

// As from a host's own operator new.
TEST_F(OutOfMemory, OfAnUnknownSizeIsReportedAsNone)
{
    const std::new_handler handler = std::get_new_handler();
    ASSERT_NE(handler, nullptr);
    EXPECT_EQ(Caught(handler), "bad allocation");
    EXPECT_THAT(mAlerts.Texts(), testing::ElementsAre(testing::HasSubstr(Told("0"))));
}

TEST_F(OutOfMemory, GoesBackToTheHostsHandlerAtDeath)
{
    ASSERT_EQ(U_Death(), 0);
    const std::new_handler hosts = [] { throw std::bad_alloc(); };
    const std::new_handler before = std::set_new_handler(hosts);
    EXPECT_EQ(before, nullptr);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    EXPECT_NE(std::get_new_handler(), hosts);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(std::get_new_handler(), hosts);

    // A birth that fails before its own handler stands leaves the host's.
    platform::SetHeapFailure([](unsigned long long size) { return size != 0; });
    EXPECT_EQ(U_Birth("Test Host", nullptr), 4);
    platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
    EXPECT_EQ(std::get_new_handler(), hosts);
    std::set_new_handler(before);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
}
