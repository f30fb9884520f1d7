// The windows of this process.

#ifndef WIN32_PORTABLE_WINDOWS_H
#define WIN32_PORTABLE_WINDOWS_H

namespace win32
{
// For the end of a thread.
void DropWindowsOfThread();
} // namespace win32

#endif
