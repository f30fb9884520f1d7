// The locale that the sources of locales share.

#ifndef WIN32_NATIVE_LOCALE_H
#define WIN32_NATIVE_LOCALE_H

#include "windows_api.h"

namespace win32
{
// A locale by the system's name, such as "de-DE".
struct LocaleName
{
    wchar_t mText[LOCALE_NAME_MAX_LENGTH]; // empty for the system's own locale of the user

    const wchar_t* Get() const { return *mText ? mText : LOCALE_NAME_USER_DEFAULT; }
};

// Returns the locale that the host has set, or the system's own.
LocaleName UserLocale();

// Returns true for a buffer that can store a text, or for none with a size of 0.
inline bool IsBuffer(const void* buffer, int size)
{
    return size == 0 || (size > 0 && buffer);
}
} // namespace win32

#endif
