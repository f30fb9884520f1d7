#include "control.h"

#include <cstring>
#include <new>

#include <krobase/debug.h>
#include <tolv/profile.h>
#include <win32/message_queue.h>

#include "krobase/private/switches.h"
#include "kroview/private/switches.h"
#include "tolv/private/switches.h"
#include "win32/private/switches.h"
#include "wril/private/sink.h"

namespace platform
{
void ResetAll()
{
    krobase::debug::DebugDatabase::Instance().Clear();
    ClearProfile();
    SetActiveCodePage(0);
    SetUserLocale(nullptr);
    SetDoubleByteScript(false);
    SetLogSink(LogSink());
    SetTrace(nullptr, 0);
    SetTraceSink(boost::function<void(const char*)>());
    SetDebugStringSink(boost::function<void(const char*)>());
    SetAlertPresenter(AlertPresenter());
    SetModifierKeys(0);
    kroview::ForgetInputCapture();
    win32::ResetBeepCount();
    SetWindowProcedure(boost::function<void(unsigned int, unsigned long long, long long)>());
    win32::ResetPerformanceCounter();
    SetProcessorFolder(nullptr);
    SetVectors(true);
    SetNames(nullptr, nullptr);
    SetPhysicalMemory(0, 0);
    SetTickClock(boost::function<unsigned long long()>());
    SetWallClock(boost::function<long long()>());
    SetMissingFunction(nullptr);
    tolv::ResetSwitches();
    kroview::EmptyClipboard(); // may throw an exception of a window's procedure
}

void SetActiveCodePage(unsigned int codePage)
{
    win32::SetActiveCodePage(codePage);
}

void SetUserLocale(const char* localeId)
{
    win32::SetUserLocale(localeId);
}

void SetDoubleByteScript(bool on)
{
    tolv::SetDoubleByteScript(on);
}

void SetDebugSetting(const char* key, const char* text)
{
    krobase::debug::DebugDatabase::Instance().SetEntry(key, text);
}

void SetProfileInt(const char* key, int value)
{
    if (!key)
        return;
    const krobase::utility::UTF16String units(key, key + std::strlen(key));
    if (TOLV_SetProfileInt(units.c_str(), value) != 0)
        throw std::bad_alloc();
}

void ClearProfile()
{
    tolv::ClearProfile();
}

void SetLogSink(const LogSink& sink)
{
    wril::SetSink(sink);
}

void SetTrace(const char* category, int level)
{
    krobase::debug::SetTrace(category, level);
}

void SetTraceSink(const boost::function<void(const char*)>& sink)
{
    krobase::debug::SetTraceSink(sink);
}

void SetDebugStringSink(const boost::function<void(const char*)>& sink)
{
    win32::SetDebugStringSink(sink);
}

void SetModifierKeys(unsigned int mask)
{
    tolv::SetModifierKeys(mask);
}

krobase::utility::UTF16String ClipboardText()
{
    return kroview::ClipboardText();
}

unsigned int BeepCount()
{
    return win32::BeepCount();
}

bool PostThreadMessage(unsigned int threadId, unsigned int message, unsigned long long wParam,
                       long long lParam)
{
    return win32::PostThreadMessageW(threadId, message, wParam, lParam) != 0;
}

void SetWindowProcedure(
    const boost::function<void(unsigned int, unsigned long long, long long)>& procedure)
{
    win32::SetWindowProcedure(procedure);
}

unsigned int FlushEventsCount()
{
    return tolv::FlushEventsCount();
}

void SetPhysicalMemory(unsigned long long total, unsigned long long available)
{
    win32::SetPhysicalMemory(total, available);
}

void SetTickClock(const boost::function<unsigned long long()>& nanoseconds)
{
    krobase::utility::SetTickClock(nanoseconds);
    wril::SetClock(nanoseconds);
}

void SetWallClock(const boost::function<long long()>& milliseconds)
{
    win32::SetWallClock(milliseconds);
}

void SetMissingFunction(const char* name)
{
    win32::SetMissingFunction(name);
}

void SetPerformanceCounter(long long countsPerSecond, bool works)
{
    win32::SetPerformanceCounter(countsPerSecond, works);
}

void SetVectors(bool on)
{
    win32::SetVectors(on);
}

void SetProcessorFolder(const char* folder)
{
    win32::SetProcessorFolder(folder);
}

void SetNames(const char* machine, const char* user)
{
    win32::SetNames(machine, user);
}

void SetHeapFailure(const boost::function<bool(unsigned long long)>& shouldFail)
{
    tolv::SetHeapFailure(shouldFail);
}

bool SetHeapChecks(const char* options)
{
    return tolv::SetHeapChecks(options);
}

std::size_t CheckHeap()
{
    return tolv::VerifyAllBlocks();
}

void SetUsageError(short code)
{
    tolv::SetUsageError(code);
}

unsigned int SyncMemUsageCount()
{
    return tolv::SyncMemUsageCount();
}

unsigned int HeapCompactCount()
{
    return win32::HeapCompactCount();
}

bool MemDialogsQuieted()
{
    return tolv::MemDialogsQuieted();
}
} // namespace platform
