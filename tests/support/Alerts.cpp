#include "tests/support/Alerts.h"

#include "U_Encoding.h"
#include "tests/support/Text.h"

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
