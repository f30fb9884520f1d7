// Hogs: their handles, and what is refused.

#include <cstring>

#include <boost/function.hpp>
#include <gmock/gmock.h>

#include <control.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "tests/support/Hogs.h"

namespace
{
typedef std::vector<std::string> Texts;

const char kBadHog[] = "Test Host error: bad tracked memory ID\t";

U_Status LockInVain(void** handle)
{
    void* data = &data;
    const U_Status refused = U_LockHogHandle(handle, &data);
    EXPECT_EQ(data, nullptr);
    return refused;
}

U_Status AskSizeInVain(void** handle)
{
    U_u64 size = 99;
    const U_Status refused = U_GetHogHandleSize(handle, &size);
    EXPECT_EQ(size, 0u);
    return refused;
}
} // namespace

TEST_F(Hogs, KeepTheirHeaderToThemselves)
{
    void** handle = New(100, U_Hog_Clear);
    U_u64 size = 0;
    U_u32 blockSize = 0;
    EXPECT_EQ(U_GetHogHandleSize(handle, &size), 0);
    EXPECT_EQ(U_GetHandleSize(handle, &blockSize), 0);
    EXPECT_EQ(size, 100u);
    EXPECT_EQ(blockSize, 116u);

    void* data = nullptr;
    ASSERT_EQ(U_LockHogHandle(handle, &data), 0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(data) % 16, 0u);
    const char zeros[100] = {};
    EXPECT_EQ(std::memcmp(data, zeros, sizeof(zeros)), 0);
    std::memset(data, 0xEE, 100);
    EXPECT_EQ(U_UnlockHogHandle(handle), 0);
    EXPECT_EQ(Count(), (Stats{1, 100}));
    EXPECT_EQ(U_FreeHogHandle(handle), 0);
}

TEST_F(Hogs, LockedOnesAreNotResized)
{
    void** handle = New(100);
    void* data = nullptr;
    EXPECT_EQ(U_UnlockHogHandle(handle), 0) << "one unlock too many counts for nothing";
    EXPECT_EQ(U_LockHogHandle(handle, &data), 0);
    EXPECT_EQ(U_LockHogHandle(handle, &data), 0);
    EXPECT_EQ(U_UnlockHogHandle(handle), 0);
    EXPECT_EQ(U_ResizeHogHandle(kLocation, "resize", 10, handle), 1);
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM"),
              Texts{"Test Host error: Cannot resize a locked handle.\t( 23 :: 37 )"});
    EXPECT_EQ(U_UnlockHogHandle(handle), 0);
    EXPECT_EQ(U_ResizeHogHandle(kLocation, "resize", 10, handle), 0);
    EXPECT_EQ(U_LockHogHandle(handle, &data), 0);
    EXPECT_EQ(U_FreeHogHandle(handle), 0) << "freeing takes no notice of locks";
    EXPECT_EQ(Count(), (Stats{0, 0}));
}

TEST_F(Hogs, RegisterInRowsOfTenAndKeepTheirCounts)
{
    void** handle = New(7);
    for (U_u32 index = 1; index < 32; ++index)
    {
        U_u32 id = 0;
        ASSERT_EQ(U_RegisterHog("test", &id), 0) << "a name may come again";
        EXPECT_EQ(id, index ^ kFirstId);
        Stats stats;
        EXPECT_EQ(U_GetHogStats(id, &stats.mHandles, &stats.mBytes), 0);
        EXPECT_EQ(stats, (Stats{0, 0}));
    }
    EXPECT_EQ(Count(), (Stats{1, 7}));
    U_FreeHogHandle(handle);
}

TEST_F(Hogs, BadIdentifiersAreReportedWhereTheyAreMet)
{
    void** out = U_AllocateHandleQuiet(1);
    void** const untouched = out;
    Stats stats;
    const struct
    {
        const char* mWhere;
        U_Status mResult;
    } kRows[] = {
        {"( 18 :: 52 )", U_NewHogHandle(0, kLocation, "new", 10, 0, &out)},
        {"( 18 :: 52 )", U_NewHogHandle(1 ^ kFirstId, kLocation, "new", 10, 0, &out)},
        {"( 23 :: 39 )", U_GetHogStats(1, &stats.mHandles, &stats.mBytes)},
    };
    const Texts lines = mLog.Texts("U_Sev_PROBLEM");
    ASSERT_EQ(lines.size(), std::size(kRows));
    for (std::size_t row = 0; row < std::size(kRows); ++row)
    {
        EXPECT_EQ(kRows[row].mResult, 2) << row;
        EXPECT_EQ(lines[row], kBadHog + std::string(kRows[row].mWhere)) << row;
    }
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(stats, Stats()) << "nothing is stored";
    U_FreeHandle(untouched);
}

// Also those whose bytes tell of the first hog, but in no live block with a header.
TEST_F(Hogs, HandlesThatTellNoHogAreRefusedAndLeftAlone)
{
    void* none = nullptr;
    U_u64 header[2] = {};
    void* local = header;
    void** stranger = U_AllocateHandleClearQuiet(64);
    static_cast<U_u32*>(*stranger)[1] = 1; // the hog behind the last
    void** empty = U_AllocateHandleClearQuiet(0);
    void** half = U_AllocateHandleClearQuiet(8);
    void** almost = U_AllocateHandleClearQuiet(15);
    void** gone = New(100);
    EXPECT_EQ(U_FreeHogHandle(gone), 0);
    char* const inside = reinterpret_cast<char*>(stranger) + 1;

    const struct
    {
        const char* mWhere;
        U_Status (*mCall)(void**);
    } kCalls[] = {
        {"( 23 :: 33 )", &U_FreeHogHandle},
        {"( 23 :: 34 )", &LockInVain},
        {"( 23 :: 35 )", &U_UnlockHogHandle},
        {"( 23 :: 36 )", &AskSizeInVain},
        {"( 23 :: 37 )", [](void** handle) { return U_ResizeHogHandle(0, "to", 10, handle); }},
    };
    void** const kHandles[] = {nullptr,  &none, &local,
                               stranger, empty, half,
                               almost,   gone,  reinterpret_cast<void**>(inside)};
    for (const auto& call : kCalls)
    {
        for (std::size_t index = 0; index < std::size(kHandles); ++index)
        {
            SCOPED_TRACE(call.mWhere + (" of handle " + std::to_string(index)));
            mLog.Clear();
            EXPECT_EQ(call.mCall(kHandles[index]), 2);
            EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM"), Texts{kBadHog + std::string(call.mWhere)});
        }
    }
    EXPECT_EQ(Count(), (Stats{0, 0}));
    for (void** handle : {stranger, empty, half, almost})
    {
        EXPECT_EQ(U_CheckHandleFromHeap(handle), 0) << "it lives on";
        U_FreeHandle(handle);
    }
}

TEST_F(Hogs, ConvertFromAndToPlainHandles)
{
    void** plain = U_AllocateHandleQuiet(6);
    std::memcpy(*plain, "hello", 6);
    void** hog = nullptr;
    ASSERT_EQ(U_NewHogHandleFromHandle(mId, plain, &hog), 0);
    EXPECT_EQ(Count(), (Stats{1, 6}));
    void** back = nullptr;
    ASSERT_EQ(U_NewHandleFromHogHandle(hog, &back), 0);
    U_u32 size = 0;
    EXPECT_EQ(U_GetHandleSize(back, &size), 0);
    EXPECT_EQ(size, 6u);
    EXPECT_STREQ(static_cast<char*>(*back), "hello");
    EXPECT_EQ(U_ResizeHogHandle(0, "unlocked again", 7, hog), 0);

    void** empty = nullptr;
    EXPECT_EQ(U_NewHandleFromHogHandle(plain, &empty), 2) << "no hog handle";
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(U_GetHandleSize(empty, &size), 0);
    EXPECT_EQ(size, 0u);
    mLog.Clear();
    void** const before = empty;
    EXPECT_EQ(U_NewHandleFromHogHandle(nullptr, &empty), 3);
    EXPECT_EQ(empty, before);
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM"),
              Texts{"Test Host error: internal verification failure, sorry! {525}\t"});
    void** untold = plain;
    EXPECT_EQ(U_NewHogHandleFromHandle(0, plain, &untold), 2);
    EXPECT_EQ(untold, nullptr);
    void** const stray = reinterpret_cast<void**>(8);
    mLog.Clear();
    ASSERT_EQ(U_NewHogHandleFromHandle(mId, stray, &untold), 0) << "reported, and not read";
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM").size(), 1u);
    EXPECT_EQ(Count(), (Stats{2, 7}));
    for (void** handle : {plain, back, empty})
        U_FreeHandle(handle);
    U_FreeHogHandle(hog);
    U_FreeHogHandle(untold);
}

TEST_F(Hogs, WithoutMemoryNothingChanges)
{
    void** handle = New(100);
    for (U_u32 index = 1; index < 10; ++index)
        U_RegisterHog("fills the table", &mId);
    U_u32 id = 7;
    void** out = handle;
    platform::SetHeapFailure([](unsigned long long) { return true; });
    mLog.Clear();
    EXPECT_EQ(U_RegisterHog("one more", &id), 4);
    EXPECT_EQ(U_NewHogHandle(kFirstId, 0, "quiet", 10, U_Hog_Quiet, &out), 4);
    EXPECT_EQ(U_ResizeHogHandle(0, nullptr, 1000, handle), 4);
    EXPECT_EQ(out, nullptr);
    out = handle;
    EXPECT_EQ(U_NewHandleFromHogHandle(handle, &out), 4);
    EXPECT_EQ(out, nullptr);
    platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
    EXPECT_EQ(id, 7u);
    for (U_u64 size : {U_u64(0x7FFFFFFF), U_u64(0xFFFFFFF0), U_u64(0x100000064), ~U_u64(0)})
    {
        EXPECT_EQ(U_NewHogHandle(kFirstId, 0, nullptr, size, U_Hog_Quiet, &out), 4) << size;
        EXPECT_EQ(U_ResizeHogHandle(0, nullptr, size, handle), 4) << size;
    }
    mId = kFirstId;
    EXPECT_EQ(Count(), (Stats{1, 100}));
    U_FreeHogHandle(handle);
    EXPECT_EQ(U_RegisterHog("one more", &id), 0);
    EXPECT_EQ(id, 10 ^ kFirstId) << "the failed one took no slot";
}

TEST_F(Hogs, AlertsNameWhatRegisteringFailedFor)
{
    const struct
    {
        const char* mWhat;
        unsigned long long mMost; // bytes of a block that can be had
    } kRows[] = {{"tracked memory name", 0}, {"tracked memory global table", 100}};
    for (U_u32 index = 1; index < 10; ++index)
        U_RegisterHog("fills the table", &mId);
    for (const auto& row : kRows)
    {
        mAlerts.Clear();
        platform::SetHeapFailure([&](unsigned long long size) { return size > row.mMost; });
        EXPECT_EQ(U_RegisterHog("one more", &mId), 4);
        platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
        EXPECT_THAT(mAlerts.Texts(),
                    testing::ElementsAre(testing::AllOf(testing::HasSubstr(row.mWhat),
                                                        testing::HasSubstr("( 23 :: 32 )"))));
    }
}

// A purge request that growth makes runs with the table locked for other threads.
TEST_F(Hogs, APurgeCallbackMayUseHogsWhileTheTableGrows)
{
    struct Host
    {
        void** mBig;

        static int Purge(void* refcon, U_u64, U_u64, bool*)
        {
            Host& host = *static_cast<Host*>(refcon);
            U_u32 nested = 0;
            EXPECT_EQ(U_RegisterHog("nested", &nested), 4) << "that is what there is no room for";
            EXPECT_EQ(U_FreeHogHandle(host.mBig), 0);
            platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
            return 0;
        }
    } host{New(100000)};
    for (U_u32 index = 1; index < 10; ++index)
        U_RegisterHog("fills the table", &mId);
    U_SetPurgeRequestCallback(&Host::Purge, &host);
    platform::SetHeapFailure([](unsigned long long size) { return size > 100; });
    U_u32 id = 0;
    EXPECT_EQ(U_RegisterHog("eleventh", &id), 0);
    EXPECT_EQ(id, 10 ^ kFirstId);
    mId = kFirstId;
    EXPECT_EQ(Count(), (Stats{0, 0}));
}

// A purge request runs on the thread that asks, in the middle of its call.
TEST_F(Hogs, APurgeCallbackMayChangeTheHandlesOfTheCall)
{
    struct Host
    {
        boost::function<void()> mPurge;

        static int Purge(void* refcon, U_u64, U_u64, bool*)
        {
            platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
            static_cast<Host*>(refcon)->mPurge();
            return 0;
        }

        void PurgeAtNext(const boost::function<void()>& purge)
        {
            mPurge = purge;
            platform::SetHeapFailure([](unsigned long long size) { return size > 100; });
        }
    } host;
    U_SetPurgeRequestCallback(&Host::Purge, &host);
    void** handle = New(200);

    host.PurgeAtNext([&] { EXPECT_EQ(U_ResizeHogHandle(0, nullptr, 5, handle), 0); });
    EXPECT_EQ(U_ResizeHogHandle(0, nullptr, 1 << 20, handle), 0);
    EXPECT_EQ(Count(), (Stats{1, 1 << 20}));

    void** copy = nullptr;
    U_u32 size = 0;
    host.PurgeAtNext([&] { EXPECT_EQ(U_ResizeHogHandle(0, nullptr, 5, handle), 0); });
    EXPECT_EQ(U_NewHandleFromHogHandle(handle, &copy), 0);
    EXPECT_EQ(U_GetHandleSize(copy, &size), 0);
    EXPECT_EQ(size, 1u << 20) << "of which five bytes are told";
    EXPECT_EQ(Count(), (Stats{1, 5}));

    void** hog = nullptr;
    host.PurgeAtNext([&] { U_FreeHandle(copy); });
    EXPECT_EQ(U_NewHogHandleFromHandle(mId, copy, &hog), 0);
    EXPECT_EQ(Count(), (Stats{2, 5 + (1 << 20)}));
    U_FreeHogHandle(handle);
    U_FreeHogHandle(hog);
    EXPECT_EQ(Count(), (Stats{0, 0}));
}

TEST_F(Hogs, FlagsDecideOnZerosAndOnReports)
{
    const struct
    {
        const char* mOpName;
        U_u32 mFlags;
        bool mIsTold;
    } kRows[] = {
        {"picture", 0, true},
        {"picture", U_Hog_Clear, true},
        {"picture", ~U_u32(U_Hog_Clear | U_Hog_Quiet), true},
        {nullptr, 0, false},
        {"picture", U_Hog_Quiet, false},
        {"picture", U_Hog_Quiet | U_Hog_Clear, false},
    };
    const char kZeros[600] = {};
    for (const auto& row : kRows)
    {
        SCOPED_TRACE(row.mFlags);
        void* data = nullptr;
        void** handle = New(600, row.mFlags);
        ASSERT_EQ(U_LockHogHandle(handle, &data), 0);
        std::memset(data, 0xEE, 600);
        U_FreeHogHandle(handle);
        handle = New(600, row.mFlags); // in the block that was just given back
        ASSERT_EQ(U_LockHogHandle(handle, &data), 0);
        EXPECT_EQ(std::memcmp(data, kZeros, 600) == 0, (row.mFlags & U_Hog_Clear) != 0);
        U_FreeHogHandle(handle);

        mAlerts.Clear();
        platform::SetHeapFailure([](unsigned long long size) { return size == 616; });
        EXPECT_EQ(U_NewHogHandle(mId, kLocation, row.mOpName, 600, row.mFlags, &handle), 4);
        platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
        EXPECT_EQ(handle, nullptr);
        EXPECT_EQ(mAlerts.All().size(), row.mIsTold ? 1u : 0u);
    }
    EXPECT_EQ(Count(), (Stats{0, 0}));
}
