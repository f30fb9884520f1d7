// The fixture of most tests: a born library on a machine of a known size, with captured log
// lines and alerts. Includes GoogleTest, strings, vectors, functions and the switches of the
// platform, which such tests use.

#ifndef TESTS_SUPPORT_BORN_LIBRARY_H
#define TESTS_SUPPORT_BORN_LIBRARY_H

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <kroview/ui.h>
#include <platform/control.h>

#include "U_Types.h"

typedef std::vector<std::string> Texts;

struct LogLine
{
    int level;
    std::string category;
    std::string tag;
    std::string text;
};

// Captures the log from its construction to its destruction, of any thread.
class CapturedLog
{
public:
    CapturedLog();
    ~CapturedLog();

    void Clear();
    std::vector<LogLine> Lines() const;

    // Returns each line as "tag: text", in order.
    std::vector<std::string> Texts() const;

    // Returns the texts of one tag, in order.
    std::vector<std::string> Texts(const std::string& tag) const;

private:
    mutable std::mutex mLock; // guards mLines
    std::vector<LogLine> mLines;
};

// Captures the alerts from its construction to its destruction, of any thread.
class CapturedAlerts
{
public:
    CapturedAlerts();
    ~CapturedAlerts();

    void Clear();
    std::vector<platform::Alert> All() const;

    // Returns the texts in UTF-8, in order.
    std::vector<std::string> Texts() const;

    // Runs while each alert is up, after its capture.
    std::function<void(const platform::Alert&)> mWhileUp;

private:
    mutable std::mutex mLock; // guards mAlerts
    std::vector<platform::Alert> mAlerts;
};

// A host with a box of its own for alerts.
class Supplier : public kroview::pencart::SupplierInterface
{
};

// True where blocks of gigabytes take minutes.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
const bool kHugeBlocksAreSlow = true;
#else
const bool kHugeBlocksAreSlow = false;
#endif

const U_u32 kLocation = 0x120034; // in texts: ( 18 :: 52 )
const U_u64 kMiB = 1 << 20;
const U_u64 kPhysicalMemory = 8192 * kMiB;
const U_u64 kAvailableMemory = 4096 * kMiB;

// Sets the machine's memory to the two figures above, removes the limits and the callback of
// the host, the switches of failures and the attention to low memory, and empties the pool of
// recycled memory.
void PinSwitches();

class BornLibrary : public testing::Test
{
protected:
    void SetUp() override;

    // Fails the test if the heap is not empty after the library's death.
    void TearDown() override;

    // Ends the life of the library, and begins another one.
    static void LiveAnew();

    // Returns a statistic of U_GetMemoryStat.
    static U_u64 Stat(U_u32 which);

    // Returns the tracked use in bytes.
    static U_u64 InUse() { return Stat(0); }

    // Allocates and frees a block. Returns whether the block was allocated.
    static bool CanAllocate(U_u64 size);

    // Sets the limits to the present use plus these distances.
    static void SetLimitsAboveUse(U_u64 prepurge, U_u64 maximum);

    CapturedLog mLog;
    CapturedAlerts mAlerts;
};

#endif
