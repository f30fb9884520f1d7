// The functions that the sources of the user's locale share.

#ifndef WIN32_PORTABLE_LOCALE_H
#define WIN32_PORTABLE_LOCALE_H

#include <algorithm>
#include <string>
#include <string_view>

#include <win32/errors.h>

namespace win32
{
// Returns ICU's id of the user's locale, such as "de_DE".
std::string UserLocaleId();

// Converts an ICU pattern to a date picture (win32/locale.h), without the fields that pictures
// lack.
std::u16string PictureOf(std::u16string_view pattern);

// Converts a date picture to an ICU pattern.
std::u16string PatternOf(std::u16string_view picture);

// Stores `count` units, the last of which is the terminator. With a size of 0 it stores
// nothing.
//
// Returns: `count`, or 0. Then GetLastError returns 87 for a negative size or a null buffer,
// 122 if the buffer is too small.
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
