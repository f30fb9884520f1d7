#include "keyboard.h"

#include <atomic>

#include "switches.h"

namespace
{
std::atomic<unsigned int> sModifiers(0);
} // namespace

unsigned int GetCurrentKeyModifiers()
{
    return sModifiers;
}

namespace tolv
{
void SetModifierKeys(unsigned int mask)
{
    sModifiers = mask;
}
} // namespace tolv
