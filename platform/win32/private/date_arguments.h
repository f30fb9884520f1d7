// The arguments of dates and times that every operating system refuses alike, and the switch
// that removes a function.

#ifndef WIN32_PRIVATE_DATE_ARGUMENTS_H
#define WIN32_PRIVATE_DATE_ARGUMENTS_H

#include <win32/errors.h>
#include <win32/locale.h>

namespace win32
{
// Returns true for the function that SetMissingFunction removes.
bool IsMissing(const char* function);

// The functions below return 0, or the error of arguments that the function of the name refuses.

inline unsigned int RefuseDate(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                               const unsigned short* picture)
{
    if (IsMissing("GetDateFormatW"))
        return kErrorCallNotImplemented;
    if (locale != kLocaleUserDefault || !time)
        return kErrorInvalidParameter;
    return flags > kDateLongDate || (picture && flags) ? kErrorInvalidFlags : 0;
}

inline unsigned int RefuseTime(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                               const unsigned short* picture)
{
    if (IsMissing("GetTimeFormatW"))
        return kErrorCallNotImplemented;
    if (locale != kLocaleUserDefault || !time || picture)
        return kErrorInvalidParameter;
    return flags & ~kTimeNoSeconds ? kErrorInvalidFlags : 0;
}

inline unsigned int RefuseEnumeration(DateFormatCallback callback, const unsigned short* localeName,
                                      unsigned int flags)
{
    if (IsMissing("EnumDateFormatsExEx"))
        return kErrorCallNotImplemented;
    if (!callback || localeName)
        return kErrorInvalidParameter;
    return flags != kDateShortDate && flags != kDateLongDate ? kErrorInvalidFlags : 0;
}
} // namespace win32

#endif
