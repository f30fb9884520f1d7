#include "ui.h"

#include <atomic>
#include <utility>

#include <platform/base/locks.h>

#include "datatransfer.h"
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

namespace
{
typedef krobase::utility::UTF16String UTF16String;

// Never destroyed: static destructors may copy to the clipboard.
platform::Mutex sClipboardLock;
UTF16String& sClipboard PLATFORM_GUARDED_BY(sClipboardLock) = *new UTF16String;
} // namespace

namespace datatransfer
{
void NewClipboardSendData(const UTF16String& text)
{
    UTF16String fresh = text;
    const platform::ScLock lock(sClipboardLock);
    sClipboard.swap(fresh);
}
} // namespace datatransfer

UTF16String ClipboardText()
{
    const platform::ScLock lock(sClipboardLock);
    return sClipboard;
}

void EmptyClipboard()
{
    datatransfer::NewClipboardSendData(UTF16String());
}
} // namespace kroview
