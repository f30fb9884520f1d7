#include <win32/debug.h>

#include <csignal>
#include <cstdio>

#include <platform/base/printable.h>
#include <platform/base/switched_function.h>

#include "../private/switches.h"
#include "status_figures.h"

namespace win32
{
namespace
{
typedef platform::SwitchedFunction<void(const char*)> Sink;
Sink& sSink = *new Sink;
} // namespace

int IsDebuggerPresent()
{
    StatusFigure tracer = {"TracerPid:", 0};
    return ReadStatusFigures(&tracer, 1) && tracer.mValue != 0;
}

void DebugBreak()
{
    std::raise(SIGTRAP);
}

void OutputDebugStringA(const char* text)
{
    if (!text)
        return;
    if (const auto sink = sSink.Get())
        (*sink)(text);
    else
        platform::WritePrintable(stderr, text, "\t\r\n");
}

void SetDebugStringSink(const Sink::Function& sink)
{
    sSink.Set(sink);
}
} // namespace win32
