// Switches of the platform layer: how a host without the real libraries says
// what they would know, and how a test sees what went out. Each takes effect
// at once, on all threads. All may be called on any thread.

#ifndef PLATFORM_CONTROL_H
#define PLATFORM_CONTROL_H

#include <boost/function.hpp>

#include "export.h"

namespace platform
{
// Puts every switch back and sets every count to 0.
PLATFORM_EXPORT void ResetAll();

// The code page of multibyte text: 932, 936, 949, 950, 1250 to 1258, 10000,
// 10001, 10007 or 65001. Any other restores the default, 1252.
PLATFORM_EXPORT void SetActiveCodePage(unsigned int codePage);

// The user's locale, by an id such as "de_DE". A null or unknown one restores the
// default, "en_US".
PLATFORM_EXPORT void SetUserLocale(const char* localeId);

// Whether the system's script is a double-byte one; false at the start.
PLATFORM_EXPORT void SetDoubleByteScript(bool on);

// Debug settings, read through krobase::debug::DebugDatabase. A null text
// removes the entry.
PLATFORM_EXPORT void SetDebugSetting(const char* key, const char* text);

// Profile integers, read and written through TOLV.
PLATFORM_EXPORT void SetProfileInt(const char* key, int value);
PLATFORM_EXPORT void ClearProfile();

// Takes each log line, on the thread that logs, with no lock held; several
// threads may be in it at once. An empty sink restores the default, which
// writes lines up to the level in the environment's U_LOG_LEVEL (0) to stderr.
typedef boost::function<void(int level, const char* category, const char* tag, const char* text)>
    LogSink;
PLATFORM_EXPORT void SetLogSink(const LogSink& sink);

// Turns traces of one category on up to a level; null turns all off. An empty
// sink restores the default, stderr.
PLATFORM_EXPORT void SetTrace(const char* category, int level);
PLATFORM_EXPORT void SetTraceSink(const boost::function<void(const char* text)>& sink);

// MessageBeep calls so far.
PLATFORM_EXPORT unsigned int BeepCount();

// The machine's physical memory in bytes, of which whole KiB count; 0 restores
// the real figure.
PLATFORM_EXPORT void SetPhysicalMemory(unsigned long long total, unsigned long long available);

// Injected heap failures: the predicate sees the size of every MEM_New...,
// MEM_Resize... and MEM_Set...Size, on the calling thread with no lock held;
// true makes the operation fail. An empty one ends it.
PLATFORM_EXPORT void
SetHeapFailure(const boost::function<bool(unsigned long long size)>& shouldFail);

// What TOLV_TotalMemoryUsed returns; 0 restores success.
PLATFORM_EXPORT void SetUsageError(short code);

// TOLV_SyncMemUsageWithOS calls so far.
PLATFORM_EXPORT unsigned int SyncMemUsageCount();

// Whether TOLV_QuietMemDialogs has been called: host services that show
// memory dialogs of their own ask here first.
PLATFORM_EXPORT bool MemDialogsQuieted();
} // namespace platform

#endif
