#include "debug.h"

#include <atomic>
#include <climits>
#include <cstdio>

#include <platform/base/printable.h>
#include <platform/base/quiet_new.h>
#include <platform/base/switched_function.h>
#include <win32/process.h>

#include "private/trace_switches.h"

namespace krobase
{
namespace debug
{
namespace
{
boost::mutex& sTraceLock = *new boost::mutex; // guards sTraceLevels; both stay for good
std::map<std::string, int>& sTraceLevels = *new std::map<std::string, int>;
std::atomic<int> sTraceChanges(0);

typedef platform::SwitchedFunction<void(const char*)> Sink;
Sink& sTraceSink = *new Sink;
} // namespace

DebugDatabase& DebugDatabase::Instance()
{
    const platform::ScQuietNew quiet;                    // others wait for the first as for a lock
    static DebugDatabase& instance = *new DebugDatabase; // outlives static destructors
    return instance;
}

std::string DebugDatabase::GetEntry(const char* key, const char* defaultText) const
{
    const platform::ScQuietLock<boost::mutex> lock(mLock);
    const auto found = mEntries.find(key ? key : "");
    return found != mEntries.end() ? found->second : std::string(defaultText ? defaultText : "");
}

void DebugDatabase::SetEntry(const char* key, const char* text)
{
    if (!key)
        return;
    const platform::ScQuietLock<boost::mutex> lock(mLock);
    if (text)
        mEntries[key] = text;
    else
        mEntries.erase(key);
}

void DebugDatabase::Clear()
{
    const platform::ScQuietLock<boost::mutex> lock(mLock);
    mEntries.clear();
}

int TraceChangeCount()
{
    return sTraceChanges.load(std::memory_order_acquire);
}

bool TraceEnabled(const char* category, int level, bool askSettings)
{
    if (!askSettings)
        return false;
    const platform::ScQuietLock<boost::mutex> lock(sTraceLock);
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
    const platform::ScQuietLock<boost::mutex> lock(sTraceLock);
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
