// The keyboard, with Macintosh numbering.
//
// Thread safety: all functions may be called on any thread. Events are those of the calling
// thread.

#ifndef TOLV_KEYBOARD_H
#define TOLV_KEYBOARD_H

#include <platform/base/export.h>

const unsigned int kModifierCommand = 256;
const unsigned int kModifierShift = 512;
const unsigned int kModifierCapsLock = 1024;
const unsigned int kModifierOption = 2048;
const unsigned int kModifierControl = 4096;

// Returns the modifier keys that are down now, as the host has set them.
PLATFORM_EXPORT unsigned int GetCurrentKeyModifiers();

const unsigned short kKeyDownEvent = 8; // also the characters of the key
const unsigned short kKeyUpEvent = 16;

// Removes key events from the front of the calling thread's message queue. Stops before an event
// that is in `stopMask` or not in `eventMask`.
PLATFORM_EXPORT void FlushEvents(unsigned short eventMask, unsigned short stopMask);

#endif
