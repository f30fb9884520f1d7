// Code pages and text, under the operating system's own names.
//
//     unsigned short units[64];
//     if (!win32::MultiByteToWideChar(win32::kCodePageUTF8, 0, "text", -1, units, 64))
//         units[0] = 0;
//
// Thread safety: all functions may be called on any thread.

#ifndef WIN32_TEXT_H
#define WIN32_TEXT_H

#include <platform/base/export.h>

#include "errors.h"

namespace win32
{
const unsigned int kCodePageActive = 0; // means the active code page
const unsigned int kCodePageUTF8 = 65001;

const unsigned int kNoBestFitChars = 0x400; // a flag of WideCharToMultiByte

// Returns the active code page: the one that the host has set, or else the system's own.
PLATFORM_EXPORT unsigned int GetACP();

// Returns non-zero if the byte begins a character of two bytes; 0 for UTF-8 and for an unknown
// code page.
PLATFORM_EXPORT int IsDBCSLeadByteEx(unsigned int codePage, unsigned char byte);

// Convert text to UTF-16, and from UTF-16.
//
// A count of -1 means that the source is null-terminated; then the terminator is converted
// too. A capacity of 0 asks for the count alone. The source and the destination do not overlap.
//
//  - MultiByteToWideChar replaces bytes that are no character by the default character of the
//    code page, in UTF-8 by U+FFFD. `flags` is 0.
//  - WideCharToMultiByte replaces a unit that the code page lacks by its best fit, the nearest
//    character of the code page; without a best fit, or with kNoBestFitChars, by
//    `defaultCharacter`, or the code page's own if that is null. Then *usedDefault becomes 1,
//    else 0; `usedDefault` may be null. In UTF-8 both pointers are null and `flags` is 0, and
//    half of a surrogate pair becomes U+FFFD.
//
// Returns: the count of characters written or needed, or 0. Then GetLastError returns
//  - 87 for an unknown code page, a null source, an empty source, other counts, a source that is
//    the destination, too, or a source or result of more than 2^31 - 1 characters;
//  - 122 if the destination is too small. The destination contains the characters that fit;
//  - 1004 for other flags;
//  - 8 without memory.
PLATFORM_EXPORT int MultiByteToWideChar(unsigned int codePage, unsigned int flags,
                                        const char* bytes, int byteCount, unsigned short* units,
                                        int capacity);
PLATFORM_EXPORT int WideCharToMultiByte(unsigned int codePage, unsigned int flags,
                                        const unsigned short* units, int unitCount, char* bytes,
                                        int capacity, const char* defaultCharacter,
                                        int* usedDefault);
} // namespace win32

#endif
