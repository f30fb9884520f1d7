// The operating system's own headers, which no other file of the tree includes, and functions for
// the sources that call the system.
//
// Inside namespace win32 a plain name is the seam's and a name after `::` is the system's:
//
//     unsigned int win32::GetCurrentThreadId() { return ::GetCurrentThreadId(); }
//
// Sources that include this header include the seam's headers, too, in any order.

#ifndef WIN32_NATIVE_WINDOWS_API_H
#define WIN32_NATIVE_WINDOWS_API_H

#ifndef UNICODE
#define UNICODE
#endif
#ifndef _UNICODE
#define _UNICODE
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef STRICT
#define STRICT
#endif

// Windows 10, the oldest system that is supported.
#undef _WIN32_WINNT
#define _WIN32_WINNT 0x0A00
#undef WINVER
#define WINVER 0x0A00

#include <winsock2.h> // before <windows.h>

#include <windows.h>

#include <psapi.h> // after <windows.h>, as the next two
#include <sddl.h>
#include <shellapi.h>

// Macros that would rename functions of our own.
#undef GetProcessMemoryInfo
#undef PostThreadMessage

// Macros that would remove words from our code.
#undef far
#undef near
#undef pascal

namespace win32
{
// UTF-16 in the system's own type, and back. Both types have 16 bits.
static_assert(sizeof(wchar_t) == sizeof(unsigned short), "text is UTF-16");

inline const wchar_t* Wide(const unsigned short* text)
{
    return reinterpret_cast<const wchar_t*>(text);
}

inline wchar_t* Wide(unsigned short* text)
{
    return reinterpret_cast<wchar_t*>(text);
}

inline const unsigned short* Units(const wchar_t* text)
{
    return reinterpret_cast<const unsigned short*>(text);
}

inline unsigned short* Units(wchar_t* text)
{
    return reinterpret_cast<unsigned short*>(text);
}

// Throws the first exception that a window procedure of the calling thread has thrown since the
// last call. For use after a call of the system that calls procedures: an exception must not cross
// the system's frames, so the exception is kept until then.
void RethrowFromProcedures();
} // namespace win32

#endif
