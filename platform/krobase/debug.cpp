#include "debug.h"

#include <atomic>
#include <climits>
#include <cstdio>
#include <map>

#include <platform/base/locks.h>
#include <platform/base/printable.h>
#include <platform/base/switched_function.h>
#include <win32/process.h>

#include "private/switches.h"

namespace krobase
{
namespace debug
{
namespace
{
typedef std::map<std::string, std::string> Entries;
typedef std::map<std::string, int> Levels; // by category
typedef platform::SwitchedFunction<void(const char*)> Sink;

// None of these is ever destroyed: static destructors trace and read settings.
platform::Mutex sEntriesLock;
Entries& sEntries PLATFORM_GUARDED_BY(sEntriesLock) = *new Entries;

platform::Mutex sTraceLock;
Levels& sTraceLevels PLATFORM_GUARDED_BY(sTraceLock) = *new Levels;
std::atomic<int> sTraceChanges(0);
Sink& sTraceSink = *new Sink;
} // namespace

DebugDatabase& DebugDatabase::Instance()
{
    static DebugDatabase sInstance; // without a destructor: static destructors read settings
    return sInstance;
}

std::string DebugDatabase::GetEntry(const char* key, const char* defaultText) const
{
    const platform::ScLock lock(sEntriesLock);
    const auto found = sEntries.find(key ? key : "");
    return found != sEntries.end() ? found->second : std::string(defaultText ? defaultText : "");
}

void DebugDatabase::SetEntry(const char* key, const char* text)
{
    if (!key)
        return;
    const platform::ScLock lock(sEntriesLock);
    if (text)
        sEntries[key] = text;
    else
        sEntries.erase(key);
}

void DebugDatabase::Clear()
{
    const platform::ScLock lock(sEntriesLock);
    sEntries.clear();
}

int TraceChangeCount()
{
    return sTraceChanges.load(std::memory_order_acquire);
}

bool TraceEnabled(const char* category, int level, bool askSettings)
{
    if (!askSettings)
        return false;
    const platform::ScLock lock(sTraceLock);
    const auto found = sTraceLevels.find(category);
    return found != sTraceLevels.end() && level <= found->second;
}

void Trace(const char* text)
{
    if (const auto sink = sTraceSink.Get())
        (*sink)(text);
    else
        platform::WritePrintable(stderr, text, "\t\r\n");
}

bool IsDebuggerAttached()
{
    return win32::IsDebuggerPresent() != 0;
}

void BreakIntoDebugger()
{
    win32::DebugBreak();
}

void SetTrace(const char* category, int level)
{
    const platform::ScLock lock(sTraceLock);
    if (category)
        sTraceLevels[category] = level;
    else
        sTraceLevels.clear();
    sTraceChanges = (sTraceChanges + 1) & INT_MAX;
}

void SetTraceSink(const boost::function<void(const char*)>& sink)
{
    sTraceSink.Set(sink);
}
} // namespace debug
} // namespace krobase
