// Pictures of dates (win32/dates.h) and ICU's patterns.

#ifndef WIN32_PORTABLE_DATE_PICTURES_H
#define WIN32_PORTABLE_DATE_PICTURES_H

#include <string>
#include <string_view>

namespace win32
{
// Fields that a picture doesn't know are left out.
std::u16string PictureOf(std::u16string_view pattern);

std::u16string PatternOf(std::u16string_view picture);
} // namespace win32

#endif
