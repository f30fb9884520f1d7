// Null out-parameters, in every family.

#include <gmock/gmock.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Date.h"
#include "U_Format.h"
#include "U_Hog.h"
#include "U_Interact.h"
#include "U_LStr.h"
#include "U_Machine.h"
#include "U_MemServices.h"
#include "tests/support/BornLibrary.h"

typedef BornLibrary Refusals;

TEST_F(Refusals, ANullOutParameterIsReportedAndReturnsThree)
{
    void** const handle = U_AllocateHandleQuiet(8);
    U_LStrCache* noTable = nullptr;
    void** copy = nullptr;
    char text[256] = "";
    double number = 0;
    U_u32 figure = 0;
    U_u64 limit = 0;
    const std::pair<const char*, std::function<int()>> kCalls[] = {
        {"U_ResizeHandle: no handle", [&] { return U_ResizeHandle(0, 8, nullptr, nullptr); }},
        {"U_ResizePtr: no pointer", [&] { return U_ResizePtr(0, 8, nullptr, nullptr); }},
        {"U_DuplicateHandle: no", [&] { return U_DuplicateHandle(handle, "", nullptr); }},
        {"U_DuplicateHandleToPlatform: no",
         [&] { return U_DuplicateHandleToPlatform(handle, "", nullptr); }},
        {"U_DuplicateHandleFromPlatform: no",
         [&] { return U_DuplicateHandleFromPlatform(handle, "", nullptr); }},
        {"U_DetachResource: no", [&] { return U_DetachResource(nullptr, "", &copy); }},
        {"U_NewHogHandle: no", [] { return U_NewHogHandle(0, 0, "", 8, 0, nullptr); }},
        {"U_LockHogHandle: no", [&] { return U_LockHogHandle(handle, nullptr); }},
        {"U_GetHogHandleSize: no", [&] { return U_GetHogHandleSize(handle, nullptr); }},
        {"U_NewHandleFromHogHandle: no", [&] { return U_NewHandleFromHogHandle(handle, nullptr); }},
        {"U_NewHogHandleFromHandle: no",
         [&] { return U_NewHogHandleFromHandle(0, handle, nullptr); }},
        {"U_RegisterHog: no", [] { return U_RegisterHog("hog", nullptr); }},
        {"U_RegisterHog: no", [&] { return U_RegisterHog(nullptr, &figure); }},
        {"U_GetHogStats: no", [] { return U_GetHogStats(0, nullptr, nullptr); }},
        {"U_GetHogStats: no", [&] { return U_GetHogStats(0, &figure, nullptr); }},
        {"getting size of handle", [&] { return U_GetHandleSize(handle, nullptr); }},
        {"getting size of handle", [&] { return U_NewHogHandleFromHandle(0, nullptr, &copy); }},
        {"U_GetMemUsageLimits: no", [] { return U_GetMemUsageLimits(nullptr, nullptr); }},
        {"U_GetMemUsageLimits: no", [&] { return U_GetMemUsageLimits(&limit, nullptr); }},
        {"U_GetSystemMemoryStats: no", [] { return U_GetSystemMemoryStats(nullptr); }},
        {"U_CheckRAMPurgeLimit: no", [&] { return U_CheckRAMPurgeLimit(nullptr, 0, nullptr); }},
        {"U_PurgeLoop: no", [] { return U_PurgeLoop(8, nullptr, nullptr, false); }},
        {"U_GetPtrSize: no", [] { return U_GetPtrSize(nullptr, nullptr); }},
        {"U_GetMemoryStat: no", [] { return U_GetMemoryStat(U_MemStat_InUse, nullptr); }},
        {"U_GetName: no", [] { return U_GetName(nullptr); }},
        {"U_GetHowManyErrors: no", [] { return U_GetHowManyErrors(nullptr); }},
        {"U_SecondsSinceBoot: no", [] { return U_SecondsSinceBoot(nullptr); }},
        {"U_MillisecondsSinceBoot: no", [] { return U_MillisecondsSinceBoot(nullptr); }},
        {"U_GetNumThreads: no", [] { return U_GetNumThreads(nullptr); }},
        {"U_FormatNum: no", [] { return U_FormatNum(1, 0, 1, 1, nullptr); }},
        {"U_ScanNum: no", [&] { return U_ScanNum(nullptr, 0, &number); }},
        {"U_ScanNum: no", [&] { return U_ScanNum(text, 0, nullptr); }},
        {"U_InternationalizeNum,", [] { return U_InternationalizeNum(nullptr); }},
        {"U_DeInternationalizeNum:", [] { return U_DeInternationalizeNum(nullptr); }},
        {"U_CopyCtoPString: no", [] { return U_CopyCtoPString("", 8, nullptr); }},
        {"U_CopyPtoCString: no", [] { return U_CopyPtoCString(nullptr, 8, nullptr); }},
        {"U_AsciiVersion: no", [] { return U_AsciiVersion(0, false, nullptr); }},
        {"U_SubString: no", [] { return U_SubString(nullptr, 8, "^1", "value"); }},
        {"U_ZUnregisterLStrCache: not", [&] { return U_ZUnregisterLStrCache(&noTable); }},
    };
    for (const auto& [why, call] : kCalls)
    {
        SCOPED_TRACE(why);
        mAlerts.Clear();
        EXPECT_EQ(call(), 3);
        EXPECT_THAT(mAlerts.Texts(), testing::ElementsAre(testing::HasSubstr(why)));
    }
    U_FreeHandle(handle);
}
