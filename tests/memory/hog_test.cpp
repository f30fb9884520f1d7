// Hogs: their handles, refusals, the report of leaks, and the hogs of the next life.

#include <cstring>
#include <optional>
#include <tuple>
#include <utility>

#include <gmock/gmock.h>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Lifecycle.h"
#include "tests/support/ExpectedLeaks.h"
#include "tests/support/FailingNew.h"
#include "tests/support/Hogs.h"
#include "tests/support/PurgeHost.h"

namespace
{
const char kBadHog[] = "Test Host error: bad tracked memory ID\t";

void FailLargeBlocks()
{
    platform::SetHeapFailure([](unsigned long long size) { return size > 100; });
}

class HogLeaks : public Hogs
{
protected:
    void TearDown() override
    {
        U_SetHogReportingOn(false);
        Hogs::TearDown();
    }

    // Dies and lives again. Returns the lines about leaks.
    Texts LeakLines()
    {
        mAlerts.Clear();
        mLog.Clear();
        LiveAnew();
        return mLog.Texts("Up_TerminateHogs");
    }

    // The same with one handle left of each hog.
    Texts LeakLinesOf(const Texts& names)
    {
        std::vector<void**> left;
        for (const std::string& name : names)
        {
            EXPECT_EQ(U_RegisterHog(name.c_str(), &mId), 0);
            left.push_back(New(10 + left.size()));
        }
        const Texts lines = LeakLines();
        for (void** handle : left)
            MEM_DisposeHandle(nullptr, handle);
        return lines;
    }
};
} // namespace

TEST_F(Hogs, BadIdentifiersAreReportedWithTheLocation)
{
    void** out = U_AllocateHandleQuiet(1);
    void** const untouched = out;
    Stats stats(99, 99);
    EXPECT_EQ(U_NewHogHandle(0, kLocation, "new", 10, 0, &out), 2);
    EXPECT_EQ(U_NewHogHandle(1 ^ kFirstId, kLocation, "new", 10, 0, &out), 2);
    EXPECT_EQ(U_GetHogStats(1, &stats.first, &stats.second), 2);
    const std::string bad = kBadHog;
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM"),
              (Texts{bad + "( 18 :: 52 )", bad + "( 18 :: 52 )", bad + "( 23 :: 39 )"}));
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(stats, Stats(99, 99)) << "nothing is stored";
    U_FreeHandle(untouched);
}

// Also handles whose bytes contain the index of the first hog, but that are not live or too small.
TEST_F(Hogs, HandlesWithoutAHogAreRefusedAndUnchanged)
{
    void* none = nullptr;
    U_u64 header[2] = {};
    void* local = header;
    void** stranger = U_AllocateHandleClearQuiet(64);
    static_cast<U_u32*>(*stranger)[1] = 1; // the index after the last hog
    void** empty = U_AllocateHandleClearQuiet(0);
    void** half = U_AllocateHandleClearQuiet(8);
    void** almost = U_AllocateHandleClearQuiet(15);
    void** freed = New(100);
    EXPECT_EQ(U_FreeHogHandle(freed), 0);
    char* const inside = reinterpret_cast<char*>(stranger) + 1;

    const std::tuple<const char*, U_Status (*)(void**)> kCalls[] = {
        {"( 23 :: 33 )", &U_FreeHogHandle},
        {"( 23 :: 34 )",
         [](void** handle) {
             void* data = &data;
             const U_Status refused = U_LockHogHandle(handle, &data);
             return data ? 0 : refused;
         }},
        {"( 23 :: 35 )", &U_UnlockHogHandle},
        {"( 23 :: 36 )",
         [](void** handle) {
             U_u64 size = 99;
             const U_Status refused = U_GetHogHandleSize(handle, &size);
             return size ? 0 : refused;
         }},
        {"( 23 :: 37 )", [](void** handle) { return U_ResizeHogHandle(0, "to", 10, handle); }},
    };
    void** const kHandles[] = {nullptr,  &none, &local,
                               stranger, empty, half,
                               almost,   freed, reinterpret_cast<void**>(inside)};
    for (const auto& [location, call] : kCalls)
    {
        for (std::size_t index = 0; index < std::size(kHandles); ++index)
        {
            SCOPED_TRACE(location + (" of handle " + std::to_string(index)));
            mLog.Clear();
            EXPECT_EQ(call(kHandles[index]), 2);
            EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM"), Texts{kBadHog + std::string(location)});
        }
    }
    EXPECT_EQ(Count(), (Stats{0, 0}));
    for (void** handle : {stranger, empty, half, almost})
    {
        EXPECT_EQ(U_CheckHandleFromHeap(handle), 0) << "still live";
        U_FreeHandle(handle);
    }
}

TEST_F(Hogs, AFailureWithoutANameIsQuietAndUnknownFlagsAreIgnored)
{
    void** handle = nullptr;
    platform::SetHeapFailure([](unsigned long long size) { return size == 616; });
    EXPECT_EQ(U_NewHogHandle(mId, kLocation, nullptr, 600, 0, &handle), 4);
    EXPECT_EQ(mAlerts.All().size(), 0u);
    EXPECT_EQ(U_NewHogHandle(mId, kLocation, "picture", 600, ~U_u32(U_Hog_Quiet), &handle), 4);
    EXPECT_EQ(mAlerts.All().size(), 1u);
}

TEST_F(Hogs, OtherHandlesDoNotConvert)
{
    void** plain = U_AllocateHandleQuiet(6);
    void** empty = nullptr;
    U_u32 size = 77;
    EXPECT_EQ(U_NewHandleFromHogHandle(plain, &empty), 2) << "no hog handle";
    EXPECT_EQ(U_GetHandleSize(empty, &size), 0);
    EXPECT_EQ(size, 0u);
    mLog.Clear();
    void** out = plain;
    EXPECT_EQ(U_NewHandleFromHogHandle(nullptr, &out), 3);
    EXPECT_EQ(out, plain);
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM"),
              Texts{"Test Host error: internal verification failure, sorry! {525}\t"});
    EXPECT_EQ(U_NewHogHandleFromHandle(0, plain, &out), 2);
    EXPECT_EQ(out, nullptr);
    U_FreeHandle(plain);
    U_FreeHandle(empty);
}

TEST_F(Hogs, RegistrationsGrowTheTableAndAFailedOneIsReportedAndTakesNoIndex)
{
    // The text of the report, and the size of the largest block that the heap gives.
    const std::pair<const char*, unsigned long long> kRows[] = {
        {"tracked memory name", 0}, {"tracked memory global table", 100}};
    void** handle = New(7);
    for (U_u32 index = 1; index < 32; ++index)
    {
        for (const auto& [what, largest] : kRows)
        {
            if (index != 10)
                continue;
            mAlerts.Clear();
            platform::SetHeapFailure([most = largest](U_u64 size) { return size > most; });
            EXPECT_EQ(U_RegisterHog("one more", &mId), 4);
            platform::SetHeapFailure({});
            EXPECT_THAT(mAlerts.Texts(),
                        testing::ElementsAre(testing::AllOf(testing::HasSubstr(what),
                                                            testing::HasSubstr("( 23 :: 32 )"))));
        }
        ASSERT_EQ(U_RegisterHog("test", &mId), 0) << "a name may be registered again";
        EXPECT_EQ(mId, index ^ kFirstId);
        EXPECT_EQ(Count(), (Stats{0, 0}));
    }
    void** left[] = {New(1), New(2)}; // of the last hog
    EXPECT_EQ(Count(), (Stats{2, 3}));
    mId = kFirstId;
    EXPECT_EQ(Count(), (Stats{1, 7}));
    U_FreeHogHandle(handle);
    LiveAnew();
    for (U_u32 index = 0; index < 32; ++index)
    {
        ASSERT_EQ(U_RegisterHog("test", &mId), 0);
        EXPECT_EQ(Count(), (Stats{0, 0})) << "in the next life";
    }
    for (void** each : left)
        U_FreeHandle(each);
}

// The growth of the table calls the purge callback with the table locked.
TEST_F(Hogs, APurgeCallbackMayUseHogsWhileTheTableGrows)
{
    void** handle = New(100000);
    for (U_u32 index = 1; index < 10; ++index)
        U_RegisterHog("fills the table", &mId);
    const ScPurgeHost host([&](bool*) {
        U_u32 nested = 0;
        EXPECT_EQ(U_RegisterHog("nested", &nested), 4) << "the table has no room yet";
        EXPECT_EQ(U_FreeHogHandle(handle), 0);
        platform::SetHeapFailure({});
    });
    FailLargeBlocks();
    EXPECT_EQ(U_RegisterHog("eleventh", &mId), 0);
    EXPECT_EQ(mId, 10 ^ kFirstId);
    mId = kFirstId;
    EXPECT_EQ(Count(), (Stats{0, 0}));
}

// The purge callback runs on the allocating thread, within the call that allocates.
TEST_F(Hogs, APurgeCallbackMayChangeTheHandleOfTheCall)
{
    void** handle = New(200);
    void** copy = nullptr;
    std::function<void()> change;
    const ScPurgeHost host([&](bool*) {
        platform::SetHeapFailure({});
        change();
    });
    const auto onNextPurge = [&](const std::function<void()>& body) {
        change = body;
        FailLargeBlocks();
    };
    const auto shrink = [&] { EXPECT_EQ(U_ResizeHogHandle(0, nullptr, 5, handle), 0); };
    onNextPurge(shrink);
    EXPECT_EQ(U_ResizeHogHandle(0, nullptr, 1 << 20, handle), 0);
    EXPECT_EQ(Count(), (Stats{1, 1 << 20}));

    U_u32 size = 0;
    onNextPurge(shrink);
    EXPECT_EQ(U_NewHandleFromHogHandle(handle, &copy), 0);
    EXPECT_EQ(U_GetHandleSize(copy, &size), 0);
    EXPECT_EQ(size, 1u << 20) << "the earlier size, of which five bytes are copied";
    EXPECT_EQ(Count(), (Stats{1, 5}));
    U_FreeHogHandle(handle);

    const Stats before = Count();
    void** endedCopy = nullptr;
    void** ended = New(1 << 20);
    onNextPurge([&] { U_FreeHogHandle(ended); });
    EXPECT_EQ(U_NewHandleFromHogHandle(ended, &endedCopy), 2) << "the copy may have its address";
    EXPECT_EQ(Count(), before);
    U_FreeHandle(endedCopy);

    onNextPurge([&] { U_FreeHandle(copy); });
    EXPECT_EQ(U_NewHogHandleFromHandle(mId, copy, &handle), 0) << "from a freed handle";
    EXPECT_EQ(Count(), (Stats{1, 1 << 20}));

    void* data = nullptr;
    void* const address = *handle;
    onNextPurge([&] { EXPECT_EQ(U_LockHogHandle(handle, &data), 0); });
    SetLimitsAboveUse(1, 1 << 30); // so that the callback runs before the first attempt
    mLog.Clear();
    EXPECT_EQ(U_ResizeHogHandle(0, nullptr, 1 << 21, handle), 1);
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM"),
              Texts{"Test Host error: Cannot resize a locked handle.\t( 23 :: 37 )"});
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(data) % 16, 0u);
    EXPECT_EQ(*handle, address);
    EXPECT_EQ(Count(), (Stats{1, 1 << 20}));
    U_FreeHogHandle(handle);
}

TEST_F(Hogs, HandlesOfAnotherHeapAreReportedAndFreed)
{
    MEM_HeapRef otherHeap = MEM_NewHeap();
    void** handle = MEM_NewHandle(otherHeap, 100);
    std::memset(*handle, 0, 100);
    void** own = New(84);
    mLog.Clear();
    EXPECT_EQ(U_ResizeHogHandle(0, "resized", 5000, handle), 4);
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM").size(), 1u);
    EXPECT_EQ(mLog.Texts("ALLOC_OP_FAILED"), Texts()) << "no lack of memory";
    mLog.Clear();
    EXPECT_EQ(U_FreeHogHandle(handle), 0);
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM").size(), 2u) << "for the size, and for the free";
    EXPECT_EQ(Count(), (Stats{0, 0}));
    EXPECT_EQ(MEM_GetHandleSize(otherHeap, handle), 0u);
    U_FreeHandle(own);
    MEM_DumpLeaks(otherHeap);
}

TEST_F(Hogs, ACopyAboveTheSizeLimitIsFreedAndStaysCounted)
{
    if (kHugeBlocksAreSlow)
        GTEST_SKIP();
    void** own = New(84);
    MEM_HeapRef otherHeap = MEM_NewHeap();
    void** handle = MEM_NewHandle(otherHeap, 0x80000010);
    ASSERT_TRUE(handle);
    std::memcpy(*handle, *own, 16);
    U_u64 size = 7;
    EXPECT_LT(U_GetHogHandleSize(handle, &size), 0);
    EXPECT_EQ(size, 0u);
    EXPECT_LT(U_FreeHogHandle(handle), 0);
    EXPECT_EQ(Count(), (Stats{1, 84}));
    U_FreeHogHandle(own);
    MEM_DumpLeaks(otherHeap);
}

TEST_F(HogLeaks, DeathNamesThoseWithHandlesLeft)
{
    EXPECT_EQ(LeakLinesOf({"silent"}), Texts()) << "reporting is off";
    U_SetHogReportingOn(true);
    const Texts names = {"images", "the TIFFIO writer", "sounds", "WAV", "OMF", "old PNGIO", "wav"};
    const std::string expected = "Tracked Memory leaks detected\rimages: 10 bytes leaked\r"
                                 "sounds: 12 bytes leaked\rwav: 16 bytes leaked\r";
    EXPECT_EQ(LeakLinesOf(names), Texts{expected});
    EXPECT_EQ(mAlerts.Texts(), Texts{"Test Host warning: " + expected + "\n\n( 23 :: 38 )"});
    const Texts lines =
        LeakLinesOf({std::string(900, 'n'), std::string(100, 'm'), "never reported"});
    EXPECT_EQ(lines.back().size(), 1023u);
}

// A copy of a hog handle is freed as a handle of the same hog, so the count may become negative.
TEST_F(HogLeaks, BytesOfANegativeCountAreNegative)
{
    void** handle = New(10);
    for (int count = 0; count < 2; ++count)
    {
        void** copy = nullptr;
        ASSERT_EQ(U_DuplicateHandle(handle, "copy", &copy), 0);
        EXPECT_EQ(U_FreeHogHandle(copy), 0);
    }
    U_FreeHandle(handle);
    EXPECT_EQ(Count(), (Stats{0xFFFFFFFF, 0xFFFFFFFF - 9})) << "modulo 2^32, each alone";
    U_SetHogReportingOn(true);
    EXPECT_EQ(LeakLines(), Texts{"Tracked Memory leaks detected\rtest: -10 bytes leaked\r"});
}

TEST_F(HogLeaks, ABirthAfterAFailedBirthHasNoHogs)
{
    U_Death();
    EXPECT_EQ(U_RegisterHog("of no life", &mId), 3);
    const U_u64 used = MEM_GetMemUsage();
    const ScExpectedLeaks expected; // of the steps before the one that fails
    U_Status failure = 0;
    for (long nth = 1; nth < 100 && !failure; ++nth)
    {
        std::optional<ScFailingNew> failing; // from the step of hogs on
        platform::SetLogSink([&](int, const char*, const char*, const char* text) {
            if (text == std::string("U Hog Birth"))
                failing.emplace(nth);
        });
        failure = U_Birth("Test Host", nullptr);
        failing.reset();
        if (!failure)
            U_Death();
    }
    const CapturedLog log;
    ASSERT_NE(failure, 0);
    ASSERT_EQ(U_RegisterHog("of a life that didn't begin", &mId), 0);
    U_FreeHandle(New(10));
    MEM_AccountAllocation(static_cast<U_i32>(used - MEM_GetMemUsage()));

    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    ASSERT_EQ(U_RegisterHog("next", &mId), 0);
    EXPECT_EQ(mId, kFirstId);
    EXPECT_EQ(Count(), (Stats{0, 0}));
}
