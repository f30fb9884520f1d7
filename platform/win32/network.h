// The network, under the operating system's own names. Any thread.

#ifndef WIN32_NETWORK_H
#define WIN32_NETWORK_H

#include <platform/base/export.h>

namespace win32
{
// The machine's name, with a zero behind it. 0, or -1 if the system doesn't tell
// or size bytes don't hold it; name then holds as much as they do. Nothing is
// written for a null name or without room.
PLATFORM_EXPORT int gethostname(char* name, int size);
} // namespace win32

#endif
