// The keyboard, with Macintosh numbering. Any thread.

#ifndef TOLV_KEYBOARD_H
#define TOLV_KEYBOARD_H

#include "../export.h"

const unsigned int kModifierCommand = 256;
const unsigned int kModifierShift = 512;
const unsigned int kModifierCapsLock = 1024;
const unsigned int kModifierOption = 2048;
const unsigned int kModifierControl = 4096;

// The modifier keys that are down now, as the host has told them.
PLATFORM_EXPORT unsigned int GetCurrentKeyModifiers();

#endif
