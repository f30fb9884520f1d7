// Code pages and text, under the operating system's own names. Any thread.
//
// Counts are signed 32-bit; -1 as a source's count means that it ends with a
// terminator, which is converted too. A capacity of 0 asks for the count alone.
// Both conversions return the count written or needed, or 0 with the reason in
// GetLastError: 87 for a bad argument, an unknown code page, source and
// destination that overlap or a count above 2^31 - 1; 122 if the destination is
// too small, which then holds what characters fit; 1004 for other flags than those
// named below; 8 if the code page's tables, made on its first use, can't be had.

#ifndef WIN32_TEXT_H
#define WIN32_TEXT_H

#include <platform/base/export.h>

namespace win32
{
const unsigned int kCodePageActive = 0; // stands for the active code page
const unsigned int kCodePageUTF8 = 65001;

const unsigned int kNoBestFitChars = 0x400; // a flag

const unsigned int kErrorNotEnoughMemory = 8;
const unsigned int kErrorInvalidParameter = 87;
const unsigned int kErrorInsufficientBuffer = 122;
const unsigned int kErrorInvalidFlags = 1004;

// The calling thread's last error. A success leaves it as it is.
PLATFORM_EXPORT unsigned int GetLastError();
PLATFORM_EXPORT void SetLastError(unsigned int error);

// The active code page: 1252 unless the host says otherwise.
PLATFORM_EXPORT unsigned int GetACP();

// Whether the byte begins a character of two bytes. False in UTF-8 and in what
// is no known code page.
PLATFORM_EXPORT int IsDBCSLeadByteEx(unsigned int codePage, unsigned char byte);

// To UTF-16. Bytes that are no character become the code page's default character,
// in UTF-8 U+FFFD. flags is 0.
PLATFORM_EXPORT int MultiByteToWideChar(unsigned int codePage, unsigned int flags,
                                        const char* bytes, int byteCount, unsigned short* units,
                                        int capacity);

// From UTF-16. A unit that the code page lacks becomes its best fit, the nearest
// character of the page. A unit without a best fit becomes defaultCharacter (null: the
// code page's own) and sets *usedDefault, which may be null. With kNoBestFitChars a best
// fit is never taken. In UTF-8 both pointers must be null and flags 0, and half of a
// surrogate pair becomes U+FFFD.
PLATFORM_EXPORT int WideCharToMultiByte(unsigned int codePage, unsigned int flags,
                                        const unsigned short* units, int unitCount, char* bytes,
                                        int capacity, const char* defaultCharacter,
                                        int* usedDefault);
} // namespace win32

#endif
