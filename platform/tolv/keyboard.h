// The keyboard, with Macintosh numbering. Any thread; its events are the calling
// thread's.

#ifndef TOLV_KEYBOARD_H
#define TOLV_KEYBOARD_H

#include <platform/base/export.h>

const unsigned int kModifierCommand = 256;
const unsigned int kModifierShift = 512;
const unsigned int kModifierCapsLock = 1024;
const unsigned int kModifierOption = 2048;
const unsigned int kModifierControl = 4096;

// The modifier keys that are down now, as the host has told them.
PLATFORM_EXPORT unsigned int GetCurrentKeyModifiers();

const unsigned short kKeyDownEvent = 8; // and the characters that come of it
const unsigned short kKeyUpEvent = 16;

// Discards the key events that eventMask names from the front of those in the
// thread's message queue, up to one that stopMask names or eventMask doesn't.
PLATFORM_EXPORT void FlushEvents(unsigned short eventMask, unsigned short stopMask);

#endif
