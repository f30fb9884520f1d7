#include <win32/dates.h>

#include <algorithm>
#include <ctime>
#include <map>
#include <new>
#include <string>

#include <unicode/udat.h>

#include <platform/base/per_thread.h>

#include "date_pictures.h"
#include "modules.h"
#include "user_locale.h"

namespace win32
{
namespace
{
const unsigned int kErrorCallNotImplemented = 120;
const unsigned int kGregorian = 1; // the calendar's number
const unsigned long long kTicksPerSecond = 10000000;
const unsigned long long kTicksPerMillisecond = 10000;
const long long kSecondsTo1970 = 11644473600; // from 1601
const int kFirstYear = 1601;
const int kLastYear = 30827;
const char16_t kNarrowNoBreakSpace = 0x202F;

// Calls write(buffer, room, &error), which tells the length, until the room serves.
template <class Write> std::u16string Grown(Write write)
{
    std::u16string text(128, u'\0');
    for (;;)
    {
        UErrorCode error = U_ZERO_ERROR;
        const int room = static_cast<int>(text.size());
        const int length = write(&text[0], room, &error);
        if (U_FAILURE(error) && error != U_BUFFER_OVERFLOW_ERROR)
            return {};
        text.resize(static_cast<std::size_t>(std::max(length, 0)));
        if (length <= room)
            return text;
    }
}

icu::LocalUDateFormatPointer Open(const std::string& locale, UDateFormatStyle time,
                                  UDateFormatStyle date, const std::u16string& pattern = {})
{
    UErrorCode error = U_ZERO_ERROR;
    return icu::LocalUDateFormatPointer(udat_open(time, date, locale.c_str(), u"UTC", -1,
                                                  pattern.data(), static_cast<int>(pattern.size()),
                                                  &error));
}

// The locale's own pattern; the empty one if it can't be had.
std::u16string StylePattern(const std::string& locale, UDateFormatStyle time, UDateFormatStyle date)
{
    const icu::LocalUDateFormatPointer format = Open(locale, time, date);
    if (format.isNull())
        return {};
    return Grown([&](char16_t* out, int room, UErrorCode* error) {
        return udat_toPattern(format.getAlias(), false, out, room, error);
    });
}

// The years of this library's dates span more than a century, so two digits don't
// tell them apart.
std::u16string WithFullYear(std::u16string picture)
{
    const std::size_t year = picture.find(u"yy");
    if (year != std::u16string::npos && picture.compare(year, 4, u"yyyy") != 0)
        picture.insert(year, u"yy");
    return picture;
}

// How the user's locale writes dates and times. One a thread: ICU's formats belong
// to one thread at a time and take a hundred times longer to open than to use.
class UserFormats
{
public:
    // Null without memory.
    static UserFormats* Current()
    {
        UserFormats* const formats = platform::PerThread<UserFormats>::Make();
        const std::string locale = UserLocaleId();
        if (formats && locale != formats->mLocale && !formats->Load(locale))
            return nullptr;
        return formats;
    }

    // Returns the text with a terminator; empty without memory.
    std::u16string Write(const std::u16string& pattern, UDate date)
    {
        if (mOpen.size() > kMostOpen)
            mOpen.clear();
        icu::LocalUDateFormatPointer& format = mOpen[pattern];
        if (format.isNull())
            format = Open(mLocale, UDAT_PATTERN, UDAT_PATTERN, pattern);
        if (format.isNull())
            return {};
        std::u16string text = Grown([&](char16_t* out, int room, UErrorCode* error) {
            return udat_format(format.getAlias(), date, out, room, nullptr, error);
        });
        // No code page has it, and the system's own data has a plain one instead.
        std::replace(text.begin(), text.end(), kNarrowNoBreakSpace, u' ');
        return text + u'\0';
    }

    const std::u16string& Picture(unsigned int flags) const
    {
        return flags == kDateLongDate ? mLongPicture : mShortPicture;
    }

    const std::u16string& TimePattern(unsigned int flags) const
    {
        return flags == kTimeNoSeconds ? mTimeWithoutSeconds : mTime;
    }

private:
    static const std::size_t kMostOpen = 8;

    // Returns false, or throws std::bad_alloc, without memory. Then the next use loads again.
    bool Load(const std::string& locale)
    {
        mLocale.clear();
        mOpen.clear();
        mShortPicture = WithFullYear(PictureOf(StylePattern(locale, UDAT_NONE, UDAT_SHORT)));
        mLongPicture = PictureOf(StylePattern(locale, UDAT_NONE, UDAT_FULL));
        mTime = StylePattern(locale, UDAT_MEDIUM, UDAT_NONE);
        mTimeWithoutSeconds = StylePattern(locale, UDAT_SHORT, UDAT_NONE);
        if (mShortPicture.empty() || mLongPicture.empty() || mTime.empty() ||
            mTimeWithoutSeconds.empty())
            return false;
        mLocale = locale;
        return true;
    }

    std::string mLocale;
    std::u16string mShortPicture;
    std::u16string mLongPicture;
    std::u16string mTime;
    std::u16string mTimeWithoutSeconds;
    std::map<std::u16string, icu::LocalUDateFormatPointer> mOpen; // by pattern
};

// False if there is no such time.
bool ToDate(const SYSTEMTIME* time, UDate* date)
{
    if (!time || time->wYear < kFirstYear || time->wYear > kLastYear || time->wHour > 23 ||
        time->wMinute > 59 || time->wSecond > 59 || time->wMilliseconds > 999)
        return false;
    std::tm fields = {};
    fields.tm_year = time->wYear - 1900;
    fields.tm_mon = time->wMonth - 1;
    fields.tm_mday = time->wDay;
    fields.tm_hour = time->wHour;
    fields.tm_min = time->wMinute;
    fields.tm_sec = time->wSecond;
    const double seconds = static_cast<double>(timegm(&fields)); // puts a 30 February right
    *date = seconds * 1000 + time->wMilliseconds;
    return fields.tm_mon == time->wMonth - 1 && fields.tm_mday == time->wDay;
}

int StoreText(const std::u16string& text, unsigned short* buffer, int size)
{
    if (text.empty())
        return Fail(kErrorNotEnoughMemory);
    return StoreUnits(reinterpret_cast<const unsigned short*>(text.data()),
                      static_cast<int>(text.size()), buffer, size);
}

// Returns the result of body(formats), or fails without memory.
template <class Body> int WithFormats(Body body)
{
    try
    {
        if (UserFormats* const formats = UserFormats::Current())
            return body(*formats);
    }
    catch (const std::bad_alloc&)
    {
    }
    return Fail(kErrorNotEnoughMemory);
}
} // namespace

int FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* time)
{
    const unsigned long long ticks =
        static_cast<unsigned long long>(fileTime->dwHighDateTime) << 32 | fileTime->dwLowDateTime;
    const std::time_t seconds = static_cast<long long>(ticks / kTicksPerSecond) - kSecondsTo1970;
    std::tm fields;
    if (ticks >> 63 || !gmtime_r(&seconds, &fields))
        return Fail(kErrorInvalidParameter);
    const auto narrow = [](unsigned long long value) { return static_cast<unsigned short>(value); };
    const auto field = [](int value) { return static_cast<unsigned short>(value); };
    *time = {field(fields.tm_year + 1900), field(fields.tm_mon + 1),
             field(fields.tm_wday),        field(fields.tm_mday),
             field(fields.tm_hour),        field(fields.tm_min),
             field(fields.tm_sec),         narrow(ticks % kTicksPerSecond / kTicksPerMillisecond)};
    return 1;
}

int GetDateFormatW(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                   const unsigned short* picture, unsigned short* buffer, int size)
{
    UDate date = 0;
    if (IsMissing("GetDateFormatW"))
        return Fail(kErrorCallNotImplemented);
    if (locale != kLocaleUserDefault || !ToDate(time, &date) || (picture && flags))
        return Fail(kErrorInvalidParameter);
    if (flags > kDateLongDate)
        return Fail(kErrorInvalidFlags);
    return WithFormats([=](UserFormats& formats) {
        const std::u16string pattern = PatternOf(
            picture ? reinterpret_cast<const char16_t*>(picture) : formats.Picture(flags));
        return StoreText(formats.Write(pattern, date), buffer, size);
    });
}

int GetTimeFormatW(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                   const unsigned short* picture, unsigned short* buffer, int size)
{
    UDate date = 0;
    if (IsMissing("GetTimeFormatW"))
        return Fail(kErrorCallNotImplemented);
    if (locale != kLocaleUserDefault || !ToDate(time, &date) || picture)
        return Fail(kErrorInvalidParameter);
    if (flags & ~kTimeNoSeconds)
        return Fail(kErrorInvalidFlags);
    return WithFormats([=](UserFormats& formats) {
        return StoreText(formats.Write(formats.TimePattern(flags), date), buffer, size);
    });
}

int EnumDateFormatsExEx(DateFormatCallback callback, const unsigned short* localeName,
                        unsigned int flags, long long param)
{
    if (IsMissing("EnumDateFormatsExEx"))
        return Fail(kErrorCallNotImplemented);
    if (!callback || localeName)
        return Fail(kErrorInvalidParameter);
    if (flags != kDateShortDate && flags != kDateLongDate)
        return Fail(kErrorInvalidFlags);
    std::u16string picture;
    const auto copyPicture = [&](const UserFormats& formats) {
        picture = formats.Picture(flags);
        return 1;
    };
    if (!WithFormats(copyPicture))
        return 0;
    // Outside the handler of std::bad_alloc: the callback's exceptions reach the caller.
    callback(reinterpret_cast<unsigned short*>(&picture[0]), kGregorian, param);
    return 1;
}
} // namespace win32
