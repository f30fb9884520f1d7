#include <cstring>
#include <ctime>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include <control.h>
#include <krobase/high_precision_time.h>
#include <win32/dates.h>
#include <win32/text.h>
#include <win32/wall_clock.h>

#include "tests/support/Text.h"

namespace
{
class SystemDates : public testing::Test
{
protected:
    void TearDown() override { platform::ResetAll(); }

    const win32::SYSTEMTIME mTime = {2005, 3, 0, 1, 15, 4, 5, 6}; // a Tuesday
};

const unsigned short* AsUnits(const std::u16string& text)
{
    return reinterpret_cast<const unsigned short*>(text.c_str());
}
} // namespace

TEST_F(SystemDates, PicturesTellHowADateIsWritten)
{
    const std::tuple<const char*, std::u16string, const char*> rows[] = {
        {"en_US", u"d dd ddd dddd ddddd", "1 01 Tue Tuesday Tuesday"},
        {"en_US", u"M MM MMM MMMM yy, y, yyyy g", "3 03 Mar March 05, 2005, 2005 AD"},
        {"en_US", u"'d''y' hEt ''d'", "d'y hEt '1"},
        {"en_US", u"", ""},
        {"ru_RU", u"MMMM yyyy", "март 2005"}, // alone a month has another form
        {"ru_RU", u"d MMMM", "1 марта"},
    };
    for (const auto& [locale, picture, expected] : rows)
    {
        platform::SetUserLocale(locale);
        unsigned short text[64];
        const int size =
            win32::GetDateFormatW(win32::kLocaleUserDefault, 0, &mTime, AsUnits(picture), text, 64);
        EXPECT_EQ(size, static_cast<int>(U_UTF16String(text).size()) + 1);
        EXPECT_EQ(Narrow(text), expected);
    }
}

TEST_F(SystemDates, BadCallsAreToldApart)
{
    struct Row
    {
        unsigned int locale, flags;
        win32::SYSTEMTIME time;
        int size;
        unsigned int dateError, timeError; // 0 for success
    };
    const unsigned int kUser = win32::kLocaleUserDefault;
    const Row rows[] = {
        {kUser, 0, mTime, 0, 0, 0},
        {kUser, 0, mTime, 8, 122, 122},
        {kUser, 0, mTime, -1, 87, 87},
        {kUser, 1, mTime, 99, 0, 1004},
        {kUser, 2, mTime, 99, 0, 0},
        {kUser, 3, mTime, 99, 1004, 1004},
        {0, 0, mTime, 99, 87, 87},
        {kUser, 0, {2004, 2, 0, 29, 0, 0, 0, 0}, 99, 0, 0},
        {kUser, 0, {2005, 2, 0, 29, 0, 0, 0, 0}, 99, 87, 87},
        {kUser, 0, {1600, 1, 0, 1, 0, 0, 0, 0}, 99, 87, 87},
        {kUser, 0, {2005, 1, 0, 1, 24, 0, 0, 0}, 99, 87, 87},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        unsigned short text[99];
        for (const bool date : {true, false})
        {
            const auto format = date ? &win32::GetDateFormatW : &win32::GetTimeFormatW;
            const unsigned int error = date ? row.dateError : row.timeError;
            win32::SetLastError(0);
            text[0] = 7;
            EXPECT_EQ(format(row.locale, row.flags, &row.time, nullptr, text, row.size) == 0,
                      error != 0);
            EXPECT_EQ(win32::GetLastError(), error);
            EXPECT_EQ(text[0] == 7, error != 0 || row.size == 0);
        }
    }
    EXPECT_EQ(win32::GetDateFormatW(kUser, 0, &mTime, nullptr, nullptr, 0), 9); // "3/1/2005"
}

TEST_F(SystemDates, FileTimesCountFrom1601)
{
    const win32::FILETIME last = {0xFFFFFFFF, 0x7FFFFFFF};
    const win32::FILETIME tooLate = {0, 0x80000000};
    const win32::SYSTEMTIME expected = {30828, 9, 4, 14, 2, 48, 5, 477};
    win32::SYSTEMTIME time;
    ASSERT_NE(win32::FileTimeToSystemTime(&last, &time), 0);
    EXPECT_EQ(std::memcmp(&time, &expected, sizeof(time)), 0);
    EXPECT_EQ(win32::FileTimeToSystemTime(&tooLate, &time), 0);
}

TEST_F(SystemDates, ClocksRunUntilTheyAreSet)
{
    using namespace krobase::utility;
    EXPECT_EQ(HighPrecisionTime::ConvertToNanos(~0ull), 0x7FFFFFFFFFFFFFFF);

    long long stored = 0;
    EXPECT_LE(win32::_time64(&stored), std::time(nullptr));
    EXPECT_GE(stored, std::time(nullptr) - 60);
    platform::SetWallClock([] { return -1ll; });
    win32::_timeb64 now;
    win32::_ftime64(&now);
    EXPECT_EQ(now.time, -1);
    EXPECT_EQ(now.millitm, 999);
    EXPECT_EQ(win32::_localtime64(&now.time), nullptr);
}
