// The user's locale, and how texts of a locale are handed out.

#ifndef WIN32_PORTABLE_USER_LOCALE_H
#define WIN32_PORTABLE_USER_LOCALE_H

#include <algorithm>
#include <string>

#include <win32/text.h>

#include "../private/failure.h"

namespace win32
{
// ICU's id, such as "de_DE".
std::string UserLocaleId();

// Stores count units, of which the last is the terminator, and returns count; for a
// size of 0 it only does that. Fails with 87 for a negative size or a null buffer,
// with 122 if the buffer is too small.
inline int StoreUnits(const unsigned short* units, int count, unsigned short* buffer, int size)
{
    if (size < 0 || (size > 0 && !buffer))
        return Fail(kErrorInvalidParameter);
    if (size == 0)
        return count;
    if (size < count)
        return Fail(kErrorInsufficientBuffer);
    std::copy_n(units, count, buffer);
    return count;
}
} // namespace win32

#endif
