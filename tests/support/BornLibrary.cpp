#include "tests/support/BornLibrary.h"

#include <boost/function.hpp>

#include <krobase/recycled_memory.h>
#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Lifecycle.h"
#include "U_Threads.h"
#include "tests/support/Text.h"

CapturedLog::CapturedLog()
{
    platform::SetLogSink(
        [this](int level, const char* category, const char* tag, const char* text) {
            std::lock_guard<std::mutex> lock(mLock);
            mLines.push_back({level, category, tag, text});
        });
}

CapturedLog::~CapturedLog()
{
    platform::SetLogSink(platform::LogSink());
}

void CapturedLog::Clear()
{
    std::lock_guard<std::mutex> lock(mLock);
    mLines.clear();
}

std::vector<LogLine> CapturedLog::Lines() const
{
    std::lock_guard<std::mutex> lock(mLock);
    return mLines;
}

std::vector<std::string> CapturedLog::Texts() const
{
    std::vector<std::string> texts;
    for (const LogLine& line : Lines())
        texts.push_back(line.tag + ": " + line.text);
    return texts;
}

std::vector<std::string> CapturedLog::Texts(const std::string& tag) const
{
    std::vector<std::string> texts;
    for (const LogLine& line : Lines())
    {
        if (line.tag == tag)
            texts.push_back(line.text);
    }
    return texts;
}

CapturedAlerts::CapturedAlerts()
{
    platform::SetAlertPresenter([this](const platform::Alert& alert) {
        {
            std::lock_guard<std::mutex> lock(mLock);
            mAlerts.push_back(alert);
        }
        if (mWhileUp)
            mWhileUp(alert);
    });
}

CapturedAlerts::~CapturedAlerts()
{
    platform::SetAlertPresenter(platform::AlertPresenter());
}

void CapturedAlerts::Clear()
{
    std::lock_guard<std::mutex> lock(mLock);
    mAlerts.clear();
}

std::vector<platform::Alert> CapturedAlerts::All() const
{
    std::lock_guard<std::mutex> lock(mLock);
    return mAlerts;
}

std::vector<std::string> CapturedAlerts::Texts() const
{
    std::vector<std::string> texts;
    for (const platform::Alert& alert : All())
        texts.push_back(Narrow(alert.text));
    return texts;
}

void PinSwitches()
{
    platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
    platform::SetUsageError(0);
    platform::SetPhysicalMemory(kPhysicalMemory, kAvailableMemory);
    U_SetPayAttentionToLowMemory(false);
    U_SetPurgeRequestCallback(nullptr, nullptr);
    MEM_SetMemUsageLimits(0, 0);
    MEM_SetMemUsageLimitsOverride(0, 0);
    krobase::utility::MemoryRecycler::PurgeBytes(~0ull);
}

void BornLibrary::SetUp()
{
    PinSwitches();
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    mLog.Clear();
}

void BornLibrary::TearDown()
{
    PinSwitches();
    mLog.Clear();
    EXPECT_EQ(U_Death(), 0);
    while (U_IsOnMainThread()) // once for each birth of the test
        U_DeregisterMainThread();
    EXPECT_EQ(mLog.Texts("MEM_DumpLeaks"), std::vector<std::string>());
    platform::ResetAll();
}

void BornLibrary::LiveAnew()
{
    ASSERT_EQ(U_Death(), 0);
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
}

U_u64 BornLibrary::Stat(U_u32 which)
{
    U_u64 value = 1234567;
    EXPECT_EQ(U_GetMemoryStat(which, &value), 0);
    return value;
}

bool BornLibrary::CanAllocate(U_u64 size)
{
    void* const block = U_AllocatePtrQuiet(size);
    U_FreePtr(block);
    return block != nullptr;
}

void BornLibrary::SetLimitsAboveUse(U_u64 prepurge, U_u64 maximum)
{
    const U_u64 used = InUse();
    MEM_SetMemUsageLimits(used + prepurge, used + maximum);
}
