// The switches that each operating system defines, for platform/control.h.

#ifndef WIN32_PRIVATE_SWITCHES_H
#define WIN32_PRIVATE_SWITCHES_H

#include <boost/function.hpp>

namespace win32
{
void SetActiveCodePage(unsigned int codePage);
void SetUserLocale(const char* localeId);
void SetPhysicalMemory(unsigned long long total, unsigned long long available);
unsigned int HeapCompactCount();
void SetDebugStringSink(const boost::function<void(const char* text)>& sink);
void SetWallClock(const boost::function<long long()>& milliseconds);
void SetMissingFunction(const char* name);
void SetPerformanceCounter(long long frequency, bool works);
void ResetPerformanceCounter();
void SetProcessorFolder(const char* folder);
void SetVectors(bool on);
void SetNames(const char* machine, const char* user);
unsigned int BeepCount();
void ResetBeepCount();
void SetWindowProcedure(
    const boost::function<void(unsigned int, unsigned long long, long long)>& procedure);
} // namespace win32

#endif
