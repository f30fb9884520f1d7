#include "stop.h"

#include <U_Context.h>
#include <platform/control.h>
#include <win32/message_queue.h>

void MakeQueue()
{
    win32::MSG message;
    win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekNoRemove);
}

void PostEscape(unsigned int threadId)
{
    platform::PostThreadMessage(threadId, win32::kWmKeyDown, kEscape, 0);
}

bool StopCheck::ThrottleAndCheckAbort()
{
    if (!mHasStopped)
        mHasStopped = U_Context::CheckAbortAndFlushCompletionRoutines();
    return mHasStopped;
}
