#include "U_Abort.h"

#include <ostream>

#include <tolv/keyboard.h>
#include <win32/message_queue.h>
#include <wril/wril.h>

#include "U_Context.h"
#include "indep/frame/Trace.h"

namespace
{
const char kIdleTrace[] = "Idle";
const int kIdleTraceLevel = 10;
const unsigned long long kEscapeKey = 27;

bool TakeMessage(win32::MSG& message, unsigned int minimum, unsigned int maximum)
{
    return win32::PeekMessageW(&message, nullptr, minimum, maximum, win32::kPeekRemove) != 0;
}

// The text of an idle trace. Formatted on output, so only while the trace is on.
struct IdleText
{
    const char* mMessage;
};

std::ostream& operator<<(std::ostream& line, const IdleText& text)
{
    return line << WRIL_convertMesg("U_Context::CheckAbortAndFlushCompletionRoutines",
                                    text.mMessage);
}

void Process(const win32::MSG& message, TraceSite& site, const char* text)
{
    site.Trace(IdleText{text});
    win32::TranslateMessage(&message);
    win32::DispatchMessageW(&message);
}
} // namespace

bool U_Context::CheckAbortAndFlushCompletionRoutines()
{
    static TraceSite sUserFunctions(kIdleTrace, kIdleTraceLevel);
    static TraceSite sTimers(kIdleTrace, kIdleTraceLevel);
    static TraceSite sKeys(kIdleTrace, kIdleTraceLevel);

    win32::MSG message;
    while (TakeMessage(message, win32::kWmUser, win32::kWmUser))
        Process(message, sUserFunctions, "processing user-func found in queue");
    while (TakeMessage(message, win32::kWmTimer, win32::kWmTimer))
        Process(message, sTimers, "processing timer found in queue");
    bool abort = false;
    while (TakeMessage(message, win32::kWmKeyFirst, win32::kWmKeyLast))
    {
        // The Escape key counts in every message of the range: key down, key up and character.
        if (message.wParam == kEscapeKey)
            abort = true;
        Process(message, sKeys, "processing keyboard-event found in queue");
    }
    if (abort)
        FlushEvents(kKeyDownEvent, kKeyUpEvent);
    return abort;
}

U_NOUIThrottler::U_NOUIThrottler() = default;

U_NOUIThrottler::~U_NOUIThrottler() = default;

bool U_NOUIThrottler::ThrottleAndCheckAbort()
{
    return U_Context::CheckAbortAndFlushCompletionRoutines();
}
