// The clipboard: the system's, or on a system without one the process's own.
// platform::ClipboardText reads the text back.
//
//     kroview::datatransfer::NewClipboardSendData(krobase::utility::UTF16String(3, 'x'));
//
// Thread safety: all functions may be called on any thread.

#ifndef KROVIEW_DATATRANSFER_H
#define KROVIEW_DATATRANSFER_H

#include <krobase/text.h>
#include <platform/base/export.h>

namespace kroview
{
namespace datatransfer
{
// Replaces the text on the clipboard.
//
// Throws: std::bad_alloc; then the clipboard is left as it is. On Windows, once the text is copied,
//   an exception of a procedure that the copy called, such as that of the window that had the
//   clipboard.
// Failures: on Windows, if another program has the clipboard open, the text is not copied, and a
//   line of the log at level 0 says so.
PLATFORM_EXPORT void NewClipboardSendData(const krobase::utility::UTF16String& text);
} // namespace datatransfer
} // namespace kroview

#endif
