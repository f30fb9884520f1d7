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

// Puts a capture in the place of the one that is given back.
Capture ExchangeCapture(Capture capture)
{
    const platform::ScLock lock(sCaptureLock);
    std::swap(capture, sCapture);
    return capture;
}

void Tell(const Capture& ended, bool cancelled)
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
        const platform::ScQuietNew quiet; // others wait for the first as for a lock
        static UI_NodeManager& manager = *new UI_NodeManager;
        sManager = &manager;
    }
    return sManager;
}

void UI_NodeManager::BeginInputCapture(const CaptureEnd& onEnd)
{
    Tell(ExchangeCapture({true, onEnd}), true);
}

void UI_NodeManager::EndInputCapture(bool cancelled)
{
    Tell(ExchangeCapture({}), cancelled);
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
