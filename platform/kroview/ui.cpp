#include "ui.h"

#include <atomic>
#include <utility>

#include <platform/base/locks.h>

#include "private/switches.h"

namespace kroview
{
namespace pencart
{
SupplierInterface::~SupplierInterface() = default;
} // namespace pencart

namespace ui
{
namespace
{
std::atomic<UI_NodeManager*> sManager(nullptr);

struct Capture
{
    bool mIsHeld = false;
    UI_NodeManager::CaptureEnd mOnEnd;
};

// Never destroyed: static destructors may end a capture.
platform::Mutex sCaptureLock;
Capture& sCapture PLATFORM_GUARDED_BY(sCaptureLock) = *new Capture;

// Replaces the capture, and returns the previous capture.
Capture ExchangeCapture(Capture capture)
{
    const platform::ScLock lock(sCaptureLock);
    std::swap(capture, sCapture);
    return capture;
}

void NotifyOwner(const Capture& ended, bool cancelled)
{
    if (ended.mOnEnd)
        ended.mOnEnd(cancelled);
}
} // namespace

UI_Node::~UI_Node() = default;

UI_NodeManager* UI_NodeManager::Get(bool onlyIfMade)
{
    if (!onlyIfMade)
    {
        static UI_NodeManager sOnly; // has no destructor, so threads may use it at exit
        sManager = &sOnly;
    }
    return sManager;
}

void UI_NodeManager::BeginInputCapture(const CaptureEnd& onEnd)
{
    NotifyOwner(ExchangeCapture({true, onEnd}), true);
}

void UI_NodeManager::EndInputCapture(bool cancelled)
{
    NotifyOwner(ExchangeCapture({}), cancelled);
}

bool UI_NodeManager::HasInputCapture() const
{
    const platform::ScLock lock(sCaptureLock);
    return sCapture.mIsHeld;
}
} // namespace ui

void ForgetInputCapture()
{
    ui::ExchangeCapture({});
}
} // namespace kroview
