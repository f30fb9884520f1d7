// The fixture of most tests: a born library on a machine of a known size, with the log
// captured.

#ifndef TESTS_SUPPORT_BORN_LIBRARY_H
#define TESTS_SUPPORT_BORN_LIBRARY_H

#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "U_Types.h"
#include "tests/support/Alerts.h"

struct LogLine
{
    int level;
    std::string category;
    std::string tag;
    std::string text;
};

// Captures the log from its construction to its destruction. Any thread logs.
class CapturedLog
{
public:
    CapturedLog();
    ~CapturedLog();

    void Clear();
    std::vector<LogLine> Lines() const;

    // Each as "tag: text", in order.
    std::vector<std::string> Texts() const;

    // The texts of one tag, in order.
    std::vector<std::string> Texts(const std::string& tag) const;

private:
    mutable std::mutex mLock; // guards mLines
    std::vector<LogLine> mLines;
};

// The sanitizers take minutes over blocks of gigabytes.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
const bool kHugeBlocksAreSlow = true;
#else
const bool kHugeBlocksAreSlow = false;
#endif

const U_u64 kMiB = 1 << 20;
const U_u64 kPhysicalMemory = 8192 * kMiB;
const U_u64 kAvailableMemory = 4096 * kMiB;

// Pins the machine's memory, and puts the limits and the callback of the host back.
void PinSwitches();

class BornLibrary : public testing::Test
{
protected:
    void SetUp() override;

    // Fails the test if the heap isn't empty at the end.
    void TearDown() override;

    // Tracked use now, in bytes.
    static U_u64 InUse();

    // Sets the limits as distances from the use of now.
    static void SetLimitsAboveUse(U_u64 prepurge, U_u64 maximum);

    CapturedLog mLog;
    CapturedAlerts mAlerts;
};

#endif
