// Second counts as dates and times in the form of the user's locale.

#include "U_Date.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include <win32/locale.h>

#include "text/BirthSteps.h"

namespace
{
const std::size_t kTextSize = 256; // of a date or a time, in units
const std::size_t kNameLength = 3; // of an abbreviated name
const U_u32 kSecondsTo1970 = 2082844800;
const U_i64 kSeconds1601To1970 = 11644473600;
const U_i64 kTicksPerSecond = 10000000; // of a file time

typedef decltype(&win32::EnumDateFormatsExEx) EnumDateFormats;

EnumDateFormats sEnumDateFormats = nullptr; // written by birth; null if missing

// A date format of the system, such as "dddd, MMMM d, yyyy".
struct Picture
{
    U_u16 mUnits[kTextSize];
};

// Called for each long date format. Copies the format into the Picture at `param`, with runs of
// M and d shortened to abbreviated names. Returns 0, which ends the enumeration: only the first
// format is used.
int TakePicture(U_u16* picture, unsigned int, long long param)
{
    U_u16* next = reinterpret_cast<Picture*>(param)->mUnits;
    const U_u16* const last = next + kTextSize - 1;
    std::size_t run = 0;
    for (const U_u16* unit = picture; *unit && next != last; ++unit)
    {
        run = unit != picture && unit[-1] == *unit ? run + 1 : 1;
        if ((*unit != 'M' && *unit != 'd') || run <= kNameLength)
            *next++ = *unit;
    }
    *next = 0;
    return 0;
}

void FindAbbreviated(Picture* picture)
{
    if (sEnumDateFormats && sEnumDateFormats(&TakePicture, nullptr, win32::kDateLongDate,
                                             reinterpret_cast<long long>(picture)))
        return;
    static const char16_t kFallback[] = u"ddd, MMM d, YYYY";
    std::copy(std::begin(kFallback), std::end(kFallback), picture->mUnits);
}

win32::SYSTEMTIME SystemTimeOf(U_u32 seconds)
{
    const U_i64 since1601 = static_cast<U_i32>(seconds - kSecondsTo1970) + kSeconds1601To1970;
    const U_u64 ticks = static_cast<U_u64>(since1601 * kTicksPerSecond);
    const win32::FILETIME fileTime = {static_cast<U_u32>(ticks), static_cast<U_u32>(ticks >> 32)};
    win32::SYSTEMTIME time;
    win32::FileTimeToSystemTime(&fileTime, &time);
    return time;
}

// Returns the empty text if the system cannot format the date.
U_UTF16String DateText(const win32::SYSTEMTIME& time, U_DateType type)
{
    unsigned int flags = 0;
    if (type == U_DateType_Short)
        flags = win32::kDateShortDate;
    if (type == U_DateType_Long)
        flags = win32::kDateLongDate;
    Picture picture = {};
    const bool abbreviated = type == U_DateType_Abbreviated;
    if (abbreviated)
        FindAbbreviated(&picture);
    U_u16 text[kTextSize];
    const int size = win32::GetDateFormatW(win32::kLocaleUserDefault, flags, &time,
                                           abbreviated ? picture.mUnits : nullptr, text, kTextSize);
    return size ? U_UTF16String(text) : U_UTF16String();
}

U_UTF16String TimeText(const win32::SYSTEMTIME& time, bool showSeconds)
{
    U_u16 text[kTextSize];
    const int size =
        win32::GetTimeFormatW(win32::kLocaleUserDefault, showSeconds ? 0 : win32::kTimeNoSeconds,
                              &time, nullptr, text, kTextSize);
    return size ? U_UTF16String(text) : U_UTF16String();
}
} // namespace

void Up_DateBirth()
{
    sEnumDateFormats = reinterpret_cast<EnumDateFormats>(
        win32::GetProcAddress(win32::GetModuleHandleA("kernel32.dll"), "EnumDateFormatsExEx"));
}

U_UTF16String U_SecondsToDateTimeString(U_u32 seconds, U_DateType type, U_DateTimeDisplay display,
                                        bool showSeconds)
{
    const win32::SYSTEMTIME time = SystemTimeOf(seconds);
    U_UTF16String text;
    if (display < U_DateTimeDisplay_Time)
        text = DateText(time, type);
    if (display <= U_DateTimeDisplay_Date)
        return text;
    const U_UTF16String timeText = TimeText(time, showSeconds);
    if (!text.empty() && !timeText.empty())
        text += {',', ' '};
    return text + timeText;
}
