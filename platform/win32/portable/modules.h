// Functions that a test takes away.

#ifndef WIN32_PORTABLE_MODULES_H
#define WIN32_PORTABLE_MODULES_H

namespace win32
{
bool IsMissing(const char* function);
} // namespace win32

#endif
