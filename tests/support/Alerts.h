// What the user got to see.

#ifndef TESTS_SUPPORT_ALERTS_H
#define TESTS_SUPPORT_ALERTS_H

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <platform/control.h>

// Captures the alerts from its construction to its destruction. Any thread.
class CapturedAlerts
{
public:
    CapturedAlerts();
    ~CapturedAlerts();

    void Clear();
    std::vector<platform::Alert> All() const;

    // Their texts in UTF-8, in order.
    std::vector<std::string> Texts() const;

    // Runs while each alert is up, behind its capture.
    std::function<void(const platform::Alert&)> mWhileUp;

private:
    mutable std::mutex mLock; // guards mAlerts
    std::vector<platform::Alert> mAlerts;
};

#endif
