// Single handles: null and foreign ones, copies, and resources.

#include <cstdio>
#include <cstring>
#include <tuple>

#include <gmock/gmock.h>

#include <tolv/memory.h>
#include <tolv/toolbox.h>

#include "U_Alloc.h"
#include "U_Hog.h"
#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/PurgeHost.h"

namespace
{
const char kText[] = "contents of a block";

typedef BornLibrary Handles;

void** Fill(void** handle)
{
    std::memcpy(*handle, kText, sizeof(kText));
    return handle;
}

void** FilledPlatform()
{
    return Fill(NewHandle(sizeof(kText)));
}
} // namespace

TEST_F(Handles, NullHandlesAreRefusedOrIgnored)
{
    U_u32 size = 77;
    U_u64 longSize = 77;
    void** none = nullptr;
    void** out = nullptr;
    EXPECT_EQ(U_GetHandleSize(nullptr, &size), 3);
    EXPECT_EQ(size, 77u);
    EXPECT_EQ(U_DuplicateHandleToPlatform(nullptr, "none", &out), 3);
    EXPECT_EQ(mAlerts.Texts(),
              Texts(2, "Test Host error: getting size of handle -- a bad parameter "
                       "was passed.\n\n( 23 :: 23 )"));
    EXPECT_EQ(U_DuplicateHandle(nullptr, "none", &out), 3);
    EXPECT_EQ(U_ResizeHandle(1, 5, "none", &none), 3);
    EXPECT_EQ(U_GetPtrSize(nullptr, &longSize), 0);
    EXPECT_EQ(longSize, 0u);
    EXPECT_EQ(U_FreeHandle(nullptr), 0);
    EXPECT_EQ(U_FreePtr(nullptr), 0);
    EXPECT_EQ(U_FreeRecycledPtr(nullptr), 0);
    EXPECT_EQ(U_CheckHandleFromHeap(nullptr), 0);
}

TEST_F(Handles, ForeignHandlesAreReportedAndDoNoHarm)
{
    const U_u64 used = InUse();
    MEM_HeapRef otherHeap = MEM_NewHeap();
    void** ofOther = MEM_NewHandle(otherHeap, 10);
    void** ofToolbox = NewHandle(10);
    void** freed = U_AllocateHandleQuiet(10);
    U_FreeHandle(freed);
    void* words[2] = {};
    void** onStack = words;
    // The kind of handle, and the size of a copy.
    const std::tuple<const char*, void**, U_u32> rows[] = {
        {"another heap's", ofOther, 10},
        {"the toolbox's", ofToolbox, 0},
        {"freed", freed, 0},
        {"no handle at all", onStack, 0},
        {"misaligned", reinterpret_cast<void**>(reinterpret_cast<char*>(words) + 1), 0},
        {"no address", reinterpret_cast<void**>(~std::uintptr_t(7)), 0},
    };
    for (const auto& [what, foreign, copied] : rows)
    {
        SCOPED_TRACE(what);
        EXPECT_NE(U_CheckHandleFromHeap(foreign), 0);
        void** handle = foreign;
        EXPECT_EQ(U_ResizeHandle(1, 5, "foreign", &handle), 4);
        EXPECT_EQ(handle, foreign);

        U_u32 size = 77;
        void** copy = nullptr;
        EXPECT_EQ(U_DuplicateHandle(foreign, "copy", &copy), 0);
        EXPECT_EQ(U_GetHandleSize(copy, &size), 0);
        EXPECT_EQ(size, copied);
        U_FreeHandle(copy);
        EXPECT_EQ(U_DuplicateHandleToPlatform(foreign, "copy", &copy), 0);
        EXPECT_EQ(GetHandleSize(copy), static_cast<int>(copied));
        DisposeHandle(copy);
    }
    EXPECT_EQ(U_FreeHandle(ofToolbox), 0);
    EXPECT_EQ(GetHandleSize(ofToolbox), 10) << "not freed";
    EXPECT_THAT(mAlerts.Texts(), testing::Each(testing::HasSubstr("Handle is not from U heap.")));

    char report[200];
    std::snprintf(report, sizeof(report),
                  "Test Host error: assertion failed\nHandle is not from U heap. MP:%p P:%p\n"
                  "line: 2033 of file: ..\\indep\\U_Memory.\n\n",
                  static_cast<void*>(ofOther), *ofOther);
    mAlerts.Clear();
    mAlerts.mWhileUp = [&](const platform::Alert&) {
        EXPECT_EQ(MEM_GetHandleSize(otherHeap, ofOther), 10u)
            << "reported before the handle is freed";
    };
    EXPECT_EQ(U_FreeHandle(ofOther), 0);
    EXPECT_EQ(mAlerts.Texts(), Texts{report});
    EXPECT_EQ(MEM_GetHandleSize(otherHeap, ofOther), 0u) << "freed in its own heap";
    MEM_DumpLeaks(otherHeap);
    EXPECT_EQ(MEM_NewHeap(), otherHeap) << "an empty heap is reused";
    MEM_DumpLeaks(otherHeap);
    DisposeHandle(ofToolbox);
    EXPECT_EQ(InUse(), used);
}

TEST_F(Handles, ForeignHandlesAboveTheSizeLimitHaveNoSize)
{
    if (kHugeBlocksAreSlow)
        GTEST_SKIP();
    MEM_HeapRef otherHeap = MEM_NewHeap();
    void** large = MEM_NewHandle(otherHeap, 0x90000000);
    ASSERT_TRUE(large);
    U_u32 size = 7;
    EXPECT_LT(U_GetHandleSize(large, &size), 0);
    EXPECT_EQ(size, 7u);
    EXPECT_THAT(mAlerts.Texts(),
                testing::ElementsAre(
                    testing::HasSubstr("Handle is not from U heap."),
                    "Test Host error: internal verification failure, sorry! "
                    "{bad numeric conversion: positive overflow}\n\n( 23 :: 23 )",
                    "Test Host error: getting size of handle (-2147483648).\n\n( 23 :: 23 )"));
    MEM_DisposeHandle(otherHeap, large);
    MEM_DumpLeaks(otherHeap);
}

TEST_F(Handles, FailedDuplicatesAreReportedWithTheirLocation)
{
    void** handle = U_AllocateHandleQuiet(5000); // large enough to be measured
    void** ofToolbox = FilledPlatform();
    void** out = nullptr;
    platform::SetHeapFailure([](unsigned long long) { return true; });
    EXPECT_EQ(U_DuplicateHandle(handle, "copy", &out), 4);
    EXPECT_EQ(Up_GetThreadLastLocation(), 0x17001Cu);
    EXPECT_EQ(U_DuplicateHandleFromPlatform(ofToolbox, "in", &out), 0);
    EXPECT_EQ(Up_GetThreadLastLocation(), 0x170000u);
    EXPECT_EQ(U_DetachResource(ofToolbox, "resource", &out), 4);
    EXPECT_EQ(Up_GetThreadLastLocation(), 0u);
    platform::SetHeapFailure({});

    SetLimitsAboveUse(0, 0);
    EXPECT_EQ(U_DuplicateHandleToPlatform(handle, "out", &out), 4);
    EXPECT_EQ(Up_GetThreadLastLocation(), 0x170000u);
    platform::SetUsageError(-108);
    EXPECT_EQ(U_DuplicateHandleToPlatform(handle, "out", &out), 4);
    U_FreeHandle(handle);
    DisposeHandle(ofToolbox);
}

TEST_F(Handles, AResizeOfAHandleThatThePurgeFreedIsNoLackOfMemory)
{
    U_u32 hog = 0;
    ASSERT_EQ(U_RegisterHog("hog", &hog), 0);
    for (const bool isHog : {false, true})
    {
        SCOPED_TRACE(isHog);
        void** handle = isHog ? nullptr : U_AllocateHandleQuiet(10);
        if (isHog)
            U_NewHogHandle(hog, 1, "hog", 10, 0, &handle);
        ASSERT_TRUE(handle);
        bool isFreed = false;
        const ScPurgeHost host([&](bool*) {
            platform::SetHeapFailure({});
            if (!isFreed)
            {
                EXPECT_EQ(isHog ? U_FreeHogHandle(handle) : U_FreeHandle(handle), 0);
            }
            isFreed = true;
        });
        platform::SetHeapFailure([](unsigned long long) { return true; });
        mAlerts.Clear();
        EXPECT_EQ(isHog ? U_ResizeHogHandle(1, "resize", 5000, handle)
                        : U_ResizeHandle(1, 5000, "resize", &handle),
                  isHog ? 2 : 4);
        EXPECT_THAT(mAlerts.Texts(),
                    testing::ElementsAre(testing::HasSubstr(isHog ? "bad tracked memory ID"
                                                                  : "Handle is not from U heap.")));
    }
}

TEST_F(Handles, ADuplicateCopiesTheBytesThatAPurgeLeft)
{
    for (const bool frees : {false, true})
    {
        void** handle = Fill(U_AllocateHandleQuiet(sizeof(kText)));
        ASSERT_EQ(U_ResizeHandle(0, 5000, nullptr, &handle), 0);
        const ScPurgeHost host([&](bool*) {
            platform::SetHeapFailure({});
            EXPECT_EQ(frees ? U_FreeHandle(handle) : U_ResizeHandle(0, 5, nullptr, &handle), 0);
        });
        platform::SetHeapFailure([](unsigned long long) { return true; });
        void** out = nullptr;
        U_u32 size = 0;
        EXPECT_EQ(U_DuplicateHandle(handle, "copy", &out), 0);
        EXPECT_EQ(U_GetHandleSize(out, &size), 0);
        EXPECT_EQ(size, 5000u);
        EXPECT_EQ(frees || std::memcmp(*out, kText, 5) == 0, true);
        if (!frees)
            U_FreeHandle(handle);
        U_FreeHandle(out);
    }
}

TEST_F(Handles, AResourceIsMovedAndAnotherHandleToo)
{
    void** resource = FilledPlatform();
    AddResource(resource);
    AddResource(resource);
    EXPECT_EQ(ResError(), -194) << "a resource already";
    EXPECT_EQ(U_DetachResource(resource, "resource", nullptr), 0) << "does nothing";
    void** out = nullptr;
    EXPECT_EQ(U_DetachResource(resource, "resource", &out), 0);
    EXPECT_STREQ(static_cast<char*>(*out), kText);
    U_FreeHandle(out);
    EXPECT_EQ(U_DetachResource(FilledPlatform(), "no resource", &out), -192);
    EXPECT_STREQ(static_cast<char*>(*out), kText);
    U_FreeHandle(out);
}
