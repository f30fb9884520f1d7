// Switches that work alike on every operating system.

#include "switches.h"

#include <atomic>
#include <string>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>
#include <platform/base/switched_function.h>
#include <win32/message_box.h>
#include <win32/process.h>

#include "date_arguments.h"
#include "system.h"

namespace win32
{
namespace
{
struct MissingFunction
{
    platform::Mutex mLock;
    std::string mName PLATFORM_GUARDED_BY(mLock);
};

// Static destructors may write dates.
MissingFunction& TheMissingFunction()
{
    static platform::Immortal<MissingFunction> sMissing;
    return *sMissing;
}

typedef platform::SwitchedFunction<void(const char*)> Sink;
Sink& sSink = *new Sink;

typedef platform::SwitchedFunction<void(unsigned int, unsigned long long, long long)> HostProcedure;
HostProcedure& sHostProcedure = *new HostProcedure;

std::atomic<unsigned int> sBeeps(0);
} // namespace

bool IsMissing(const char* function)
{
    const platform::ScLock lock(TheMissingFunction().mLock);
    return TheMissingFunction().mName == function;
}

void SetMissingFunction(const char* name)
{
    const platform::ScLock lock(TheMissingFunction().mLock);
    TheMissingFunction().mName = name ? name : "";
}

void OutputDebugStringA(const char* text)
{
    if (!text)
        return;
    if (const auto sink = sSink.Get())
        (*sink)(text);
    else
        WriteDebugString(text);
}

void SetDebugStringSink(const Sink::Function& sink)
{
    sSink.Set(sink);
}

void CallHostProcedure(const MSG& message)
{
    if (const auto procedure = sHostProcedure.Get())
        (*procedure)(message.message, message.wParam, message.lParam);
}

void SetWindowProcedure(const HostProcedure::Function& procedure)
{
    sHostProcedure.Set(procedure);
}

// MessageBoxW is part of the alerts, since the host's presenter shows the box.
int MessageBeep(unsigned int type)
{
    sBeeps.fetch_add(1);
    return Beep(type);
}

unsigned int BeepCount()
{
    return sBeeps;
}

void ResetBeepCount()
{
    sBeeps = 0;
}
} // namespace win32
