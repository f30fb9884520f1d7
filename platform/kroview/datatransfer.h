// The clipboard. Any thread.

#ifndef KROVIEW_DATATRANSFER_H
#define KROVIEW_DATATRANSFER_H

#include <krobase/text.h>
#include <platform/base/export.h>

namespace kroview
{
namespace datatransfer
{
// Puts text in the place of what is on the clipboard. The clipboard is the
// process's own; platform::ClipboardText reads it.
PLATFORM_EXPORT void NewClipboardSendData(const krobase::utility::UTF16String& text);
} // namespace datatransfer
} // namespace kroview

#endif
