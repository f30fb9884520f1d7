// Message boxes and sounds, under the operating system's own names.
//
//     const unsigned short text[] = {'D', 'o', 'n', 'e', 0};
//     win32::MessageBeep(0xFFFFFFFF);
//     win32::MessageBoxW(nullptr, text, nullptr, win32::kBoxIconNote | win32::kBoxTaskModal);
//
// Thread safety: all functions may be called on any thread.

#ifndef WIN32_MESSAGE_BOX_H
#define WIN32_MESSAGE_BOX_H

#include <platform/base/export.h>

namespace win32
{
// Makes the sound of a type of message box; 0xFFFFFFFF is a simple beep.
//
// Returns: non-zero on success.
PLATFORM_EXPORT int MessageBeep(unsigned int type);

const unsigned int kBoxIconError = 0x10;
const unsigned int kBoxIconQuestion = 0x20;
const unsigned int kBoxIconWarning = 0x30;
const unsigned int kBoxIconNote = 0x40;
const unsigned int kBoxTaskModal = 0x2000;
const unsigned int kBoxTopmost = 0x40000;

// Shows a message box with an OK button through the host's presenter of alerts, and waits
// until the user has dismissed it. Texts are null-terminated. A null text is empty; with a
// null title the presenter learns that there is no title. `flags` are the flags above.
//
// Returns: 1.
// Throws: the exceptions of the presenter.
PLATFORM_EXPORT int MessageBoxW(void* window, const unsigned short* text,
                                const unsigned short* title, unsigned int flags);
} // namespace win32

#endif
