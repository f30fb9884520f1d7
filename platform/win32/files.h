// Files, beyond what the C runtime opens. Any thread.

#ifndef WIN32_FILES_H
#define WIN32_FILES_H

#include <cstdio>

#include <platform/base/export.h>

namespace win32
{
// Opens a file for appending, and makes it if there is none, for this user alone. A path
// that ends in a symbolic link is refused. Programs that the process starts don't inherit
// the file. Null with the reason in errno.
PLATFORM_EXPORT std::FILE* OpenPrivateLog(const char* path);
} // namespace win32

#endif
