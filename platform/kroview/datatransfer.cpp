#include "datatransfer.h"

#include <boost/thread/mutex.hpp>

#include <platform/base/quiet_new.h>

#include "private/switches.h"

namespace kroview
{
namespace
{
typedef krobase::utility::UTF16String UTF16String;

boost::mutex& sClipboardLock = *new boost::mutex; // guards sClipboard; both stay for good
UTF16String& sClipboard = *new UTF16String;
} // namespace

namespace datatransfer
{
void NewClipboardSendData(const UTF16String& text)
{
    UTF16String fresh = text;
    const platform::ScQuietLock<boost::mutex> lock(sClipboardLock);
    sClipboard.swap(fresh);
}
} // namespace datatransfer

UTF16String ClipboardText()
{
    const platform::ScQuietLock<boost::mutex> lock(sClipboardLock);
    return sClipboard;
}

void EmptyClipboard()
{
    datatransfer::NewClipboardSendData(UTF16String());
}
} // namespace kroview
