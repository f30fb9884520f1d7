// The floating-point control word and the stack of each thread, and reserved address space.

#include <cfenv>
#include <csignal>
#include <limits>
#include <optional>
#include <thread>
#include <tuple>

#include <gmock/gmock.h>

#include <tolv/profile.h>
#include <win32/memory.h>
#include <win32/runtime.h>

#include "U_Machine.h"
#include "fuzz/code_thrown.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/NoMemory.h"
#include "tests/support/PurgeHost.h"
#include "tests/support/System.h"
#include "tests/support/Text.h"

namespace
{
const unsigned int kAllFields = 0x308031F;

class FPControl : public BornLibrary
{
protected:
    ~FPControl() { win32::_controlfp(mWord, kAllFields); }

    static unsigned int Word() { return win32::_controlfp(0, 0); }

    const unsigned int mWord = Word(); // restored after each test
};

typedef FPControl FPControlDeathTest;
typedef BornLibrary CallStack;
typedef BornLibrary Reservation;

// Returns the integer of the profile, -1 if there is none.
int ProfileInt(const char16_t* key)
{
    int value = -1;
    TOLV_GetRequiredProfileInt(Units(key).c_str(), &value);
    return value;
}

struct Arithmetic
{
    bool flushes; // denormal numbers are zero
    int rounding; // of a tie: 0 to even, -1 down, 1 up
};

Arithmetic Calculate()
{
    volatile double smallest = std::numeric_limits<double>::min();
    volatile double half = smallest / 2;
    volatile double one = 1;
    volatile double tiny = std::numeric_limits<double>::epsilon() / 4;
    volatile double above = one + tiny;
    volatile double below = -one - tiny;
    return {half == 0, (above > one) - (below < -one)};
}

const int kFrame = 4096;

// Keeps a frame on the stack itself: a sanitizer may move its contents.
#define REAL_FRAME __attribute__((noinline, no_sanitize_address))

// Returns the result of the function, called `frames` calls further in.
REAL_FRAME size_t Below(int frames, size_t (*function)())
{
    volatile char frame[kFrame];
    frame[0] = 0;
    const size_t result = frames ? Below(frames - 1, function) : function();
    return result + static_cast<size_t>(frame[0]); // no tail call
}

size_t DepthBelow(int frames)
{
    return Below(frames, &U_GetCurrentCallStackSize);
}

void MarkBelow(int frames)
{
    Below(frames, [] { return U_InitializeCallStackMonitoring(), size_t(0); });
}

const U_u64 kLargest = 0x7FFFFFFF;
} // namespace

TEST_F(FPControl, TheFirstUseWritesTheDefaultsAndFlushes)
{
    FailEachNew(
        [&] {
            platform::ClearProfile();
            U_InitFPControl();
            EXPECT_EQ(Word(), 0x108001Fu) << "also without memory to write the defaults";
        },
        [&](long) {
            EXPECT_TRUE(Calculate().flushes);
            U_TerminateFPControl();
            EXPECT_EQ(Word(), mWord);
            EXPECT_FALSE(Calculate().flushes);
        });
    EXPECT_EQ(ProfileInt(u"UseControlFPKey64_2"), 1);
    EXPECT_EQ(ProfileInt(u"ControlFPMaskKey64_2"), 50856735);
    EXPECT_EQ(ProfileInt(u"ControlFPValuesKey64_2"), 0x8001F);
    EXPECT_TRUE(mAlerts.Texts().empty());
}

TEST_F(FPControl, TheProfileDecides)
{
    typedef std::tuple<const char*, int, int, int, unsigned int, Arithmetic> Row;
    const Row rows[] = {
        {"off", 0, 50856735, 0x30001F, mWord, {false, 0}},
        {"on, nearest", 1, 50856735, 0x8001F, 0x108001F, {true, 0}},
        {"down", 1, 50856735, 0x8011F, 0x108011F, {true, -1}},
        {"the denormal exception stays", 1, 50856735, 0x1F, 0x108001F, {true, 0}},
        {"up", 1, 50856735, 0x8021F, 0x108021F, {true, 1}},
        {"the mask keeps the denormals", 1, 0x8031F, 0x8021F, 0x8021F, {false, 1}},
        {"an empty mask", 1, 0, -1, mWord, {false, 0}},
        {"results flushed", 1, 50856735, 0x208001F, 0x308001F, {true, 0}},
        {"every bit", 1, -1, -1, 0x308031F, {true, 0}},
        {"a byte of the value: 0", 256, 50856735, 0x8021F, mWord, {false, 0}},
        {"a byte of the value: 2", -254, 0, 0, 0x108001F, {true, 0}},
    };
    for (const auto& [what, use, mask, values, word, arithmetic] : rows)
    {
        SCOPED_TRACE(what);
        platform::SetProfileInt("UseControlFPKey64_2", use);
        platform::SetProfileInt("ControlFPMaskKey64_2", mask);
        platform::SetProfileInt("ControlFPValuesKey64_2", values);
        U_InitFPControl();
        const Arithmetic got = Calculate();
        EXPECT_EQ(Word(), word);
        EXPECT_EQ(got.flushes, arithmetic.flushes);
        EXPECT_EQ(got.rounding, arithmetic.rounding);
        U_TerminateFPControl();
        EXPECT_EQ(Word(), mWord);
    }
}

TEST_F(FPControl, TerminatingTwiceRestoresOnce)
{
    U_InitFPControl();
    U_TerminateFPControl();
    win32::_controlfp(win32::kRCUp, win32::kMcwRC);
    U_TerminateFPControl();
    EXPECT_EQ(Word() & win32::kMcwRC, win32::kRCUp);

    // All fields are restored, also those that the profile's mask excludes.
    win32::_controlfp(mWord, kAllFields);
    platform::SetProfileInt("UseControlFPKey64_2", 1);
    platform::SetProfileInt("ControlFPMaskKey64_2", 0);
    U_InitFPControl();
    const unsigned int fields = win32::kMcwRC | win32::kMcwDN | win32::kEMZeroDivide;
    const unsigned int values = win32::kRCUp | win32::kDNFlush;
    EXPECT_EQ(win32::_controlfp(values, fields), (mWord & ~fields) | values);
    U_TerminateFPControl();
    EXPECT_EQ(Word(), mWord);
}

TEST_F(FPControl, ThreadsHaveAWordEachAndTheProcessOneSavedWord)
{
    std::thread([&] {
        EXPECT_EQ(Word(), mWord);
        win32::_controlfp(win32::kRCDown, win32::kMcwRC);
        U_InitFPControl();
    }).join();
    EXPECT_EQ(Word(), mWord);
    U_TerminateFPControl();
    EXPECT_EQ(Word(), (mWord & ~win32::kMcwRC) | win32::kRCDown);
    EXPECT_EQ(std::fegetround(), FE_DOWNWARD);
}

TEST_F(FPControlDeathTest, UnmaskedExceptionsAreRaised)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    platform::SetProfileInt("UseControlFPKey64_2", 1);
    platform::SetProfileInt("ControlFPMaskKey64_2", 0x1F);
    platform::SetProfileInt("ControlFPValuesKey64_2", 0);
    EXPECT_EXIT(
        {
            std::signal(SIGFPE, SIG_DFL); // a sanitizer installs its own handler
            U_InitFPControl();
            volatile double zero = 0;
            volatile double third = 1.0 / 3; // an inexact result is always masked
            volatile double infinite = third / zero;
            std::_Exit(infinite > 0);
        },
        EndsBy(kFloatDivisionByZero), "");
}

TEST_F(CallStack, DepthIsMeasuredFromTheOutermostMark)
{
    std::thread([] {
        EXPECT_FALSE(U_IsCallStackMonitoringInitialized());
        EXPECT_EQ(DepthBelow(3), 0u);
        MarkBelow(8);
        EXPECT_TRUE(U_IsCallStackMonitoringInitialized());
        EXPECT_EQ(DepthBelow(2), 0u); // further out than the mark
        const size_t fromInside = DepthBelow(16);
        MarkBelow(4);
        const size_t fromOutside = DepthBelow(16);
        MarkBelow(12);
        EXPECT_EQ(DepthBelow(16), fromOutside);
        EXPECT_GE(fromOutside, fromInside + 4 * kFrame);
        EXPECT_LT(fromOutside, 16 * (kFrame + 1024));
        const size_t step = DepthBelow(17) - fromOutside;
        EXPECT_EQ(DepthBelow(18) - fromOutside, 2 * step);
        std::thread([] { EXPECT_FALSE(U_IsCallStackMonitoringInitialized()); }).join();
    }).join();
}

TEST_F(Reservation, ASecondReleaseIsLoggedAndDoesNotThrow)
{
    Texts lines;
    platform::SetLogSink([&](int, const char*, const char* tag, const char* text) {
        lines.push_back(std::string(tag) + ": " + text);
        throw 5;
    });
    U_ScReserveContiguousAddressSpace first(1 << 20);
    U_ScReserveContiguousAddressSpace second(1 << 20);
    second.Release();
    second = first;
    first.Release();
    EXPECT_NO_THROW(second.Release());
    second.Release(); // has nothing left to release
    platform::SetLogSink(platform::LogSink());
    EXPECT_EQ(lines, Texts{IsWine() ? "VirtualFree: VirtualFree error 87"
                                    : "VirtualFree: VirtualFree error 487"});
}

TEST_F(Reservation, AnImpossibleRangeFailsWithFourAndNoReport)
{
    for (const U_u64 size : {U_u64(0), kLargest + 1, U_u64(1) << 40, ~U_u64(0)})
    {
        SCOPED_TRACE(size);
        EXPECT_EQ(U_ReserveContiguousAddressSpace(size), 4);
        EXPECT_EQ(CodeThrown([=] { U_ScReserveContiguousAddressSpace held(size); }), 4);
    }
    EXPECT_TRUE(mAlerts.Texts().empty());
}

TEST_F(Reservation, TheBudgetIgnoresAReservationAndHoldsAfterIt)
{
    const ScPurgeHost host;
    SetLimitsAboveUse(0, 1 << 20);
    EXPECT_EQ(U_ReserveContiguousAddressSpace(100 << 20), 0);
    EXPECT_EQ(host.mRequests.size(), 0u);
    EXPECT_EQ(U_ReserveContiguousAddressSpace(kLargest + 1), 4);
    EXPECT_FALSE(CanAllocate(2 << 20));
    EXPECT_GT(host.mRequests.size(), 0u);
}

TEST_F(Reservation, WithoutARangeTheHostIsPurgedAndTheReservationTriedAgain)
{
    SKIP_UNLESS_MEMORY_CAN_BE_LIMITED();
    const U_u64 size = 1 << 30;
    const ScAddressSpaceLimit limit(size + size / 2);
    std::optional<U_ScReserveContiguousAddressSpace> held(size);
    bool gives = false;
    const ScPurgeHost host([&](bool*) {
        if (gives)
            held.reset();
    });
    EXPECT_EQ(U_ReserveContiguousAddressSpace(size), 4);
    EXPECT_GT(host.mRequests.size(), 0u);
    gives = true;
    EXPECT_EQ(U_ReserveContiguousAddressSpace(size), 0);
    EXPECT_FALSE(held);
    EXPECT_EQ(U_ReserveContiguousAddressSpace(size), 0) << "the range is released";
    EXPECT_EQ(mLog.Texts("VirtualFree"), Texts());
    EXPECT_TRUE(mAlerts.Texts().empty());
}
