#include "keyboard.h"

#include <atomic>

#include <win32/message_queue.h>

#include "private/switches.h"

namespace
{
std::atomic<unsigned int> sModifiers(0);
std::atomic<unsigned int> sFlushes(0);

bool PeekKey(win32::MSG& message, unsigned int remove)
{
    return win32::PeekMessageW(&message, nullptr, win32::kWmKeyFirst, win32::kWmKeyLast, remove) !=
           0;
}

unsigned short EventOf(const win32::MSG& message)
{
    const bool isUp = message.message == win32::kWmKeyUp || message.message == win32::kWmSysKeyUp;
    return isUp ? kKeyUpEvent : kKeyDownEvent;
}
} // namespace

unsigned int GetCurrentKeyModifiers()
{
    return sModifiers;
}

void FlushEvents(unsigned short eventMask, unsigned short stopMask)
{
    sFlushes.fetch_add(1);
    win32::MSG message;
    while (PeekKey(message, win32::kPeekNoRemove))
    {
        const unsigned short event = EventOf(message);
        if ((event & stopMask) || !(event & eventMask))
            return;
        PeekKey(message, win32::kPeekRemove);
    }
}

namespace tolv
{
void SetModifierKeys(unsigned int mask)
{
    sModifiers = mask;
}

unsigned int FlushEventsCount()
{
    return sFlushes;
}

void ResetFlushEventsCount()
{
    sFlushes = 0;
}
} // namespace tolv
