// System sounds, texts and message boxes, under the operating system's own names. Any thread.

#ifndef WIN32_MESSAGES_H
#define WIN32_MESSAGES_H

#include <platform/base/export.h>

namespace win32
{
// Makes a sound; 0xFFFFFFFF is the simple one. Non-zero on success.
PLATFORM_EXPORT int MessageBeep(unsigned int type);

const unsigned int kBoxIconError = 0x10;
const unsigned int kBoxIconQuestion = 0x20;
const unsigned int kBoxIconWarning = 0x30;
const unsigned int kBoxIconNote = 0x40;
const unsigned int kBoxTaskModal = 0x2000;
const unsigned int kBoxTopmost = 0x40000;

// Shows a message box with an OK button through the host's presenter of alerts
// and returns 1 when it has been dismissed. Texts end with a terminator; a null
// one is empty, and without a title the presenter is told so. flags are those
// above. Throws what the presenter throws.
PLATFORM_EXPORT int MessageBoxW(void* window, const unsigned short* text,
                                const unsigned short* title, unsigned int flags);

const unsigned int kFormatAllocateBuffer = 0x100;
const unsigned int kFormatIgnoreInserts = 0x200;
const unsigned int kFormatFromSystem = 0x1000;

// The system's text for a code, in UTF-16 with a line end. flags is the three
// above together and *buffer becomes a block that LocalFree frees. Returns the
// length in units, 0 with *buffer null if the system knows no text.
PLATFORM_EXPORT unsigned int FormatMessageW(unsigned int flags, const void* source,
                                            unsigned int code, unsigned int language,
                                            unsigned short** buffer, unsigned int size,
                                            void* arguments);
PLATFORM_EXPORT void* LocalFree(void* block);
} // namespace win32

#endif
