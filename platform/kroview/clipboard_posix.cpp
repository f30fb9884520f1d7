#include "datatransfer.h"

#include <platform/base/locks.h>

#include "private/switches.h"

namespace kroview
{
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
