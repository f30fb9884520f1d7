#include <ctime>
#include <functional>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include <krobase/high_precision_time.h>
#include <platform/control.h>
#include <win32/clocks.h>
#include <win32/locale.h>
#include <win32/text.h>

#include "tests/support/FailingNew.h"
#include "tests/support/System.h"
#include "tests/support/Text.h"

namespace
{
class SystemDates : public testing::Test
{
protected:
    void TearDown() override { platform::ResetAll(); }

    const win32::SYSTEMTIME mTime = {2005, 3, 0, 1, 15, 4, 5, 6}; // Tuesday, 1 March
};

const unsigned short* AsUnits(const std::u16string& text)
{
    return reinterpret_cast<const unsigned short*>(text.c_str());
}
} // namespace

TEST_F(SystemDates, PicturesSelectThePartsOfADate)
{
    const std::tuple<const char*, std::u16string, const char*> rows[] = {
        {"en_US", u"d dd ddd dddd ddddd", "1 01 Tue Tuesday Tuesday"},
        {"en_US", u"M MM MMM MMMM yy, yyyy g", "3 03 Mar March 05, 2005 AD"},
        {"en_US", u"'d''y' hEt 'd'd", "d'y hEt d1"},
        {"en_US", u"", ""},
        {"ru_RU", u"MMMM yyyy", "март 2005"}, // without a day, a month has another form
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
        EXPECT_EQ(win32::GetDateFormatW(win32::kLocaleUserDefault, 0, &mTime, AsUnits(picture),
                                        text, size - 1) == 0,
                  size > 1)
            << "the buffer is too small";
    }
}

TEST_F(SystemDates, WithoutMemoryCallsFailAndTheNextCallFollowsTheLocale)
{
    if (IsWindows())
        GTEST_SKIP() << "the system formats dates with memory of its own";
    const unsigned int kUser = win32::kLocaleUserDefault;
    unsigned short text[64];
    const std::pair<const char*, std::function<int()>> calls[] = {
        {"date", [&] { return win32::GetDateFormatW(kUser, 0, &mTime, nullptr, text, 64); }},
        {"time", [&] { return win32::GetTimeFormatW(kUser, 0, &mTime, nullptr, text, 64); }},
        {"pictures",
         [&] {
             return win32::EnumDateFormatsExEx(
                 [](unsigned short*, unsigned int, long long) { return 0; }, nullptr,
                 win32::kDateShortDate, 0);
         }},
    };
    for (const auto& [name, call] : calls)
    {
        const auto& run = call;
        int result = 0;
        const auto body = [&] {
            win32::SetLastError(0);
            result = run();
        };
        const auto check = [&, name = name](long nth) {
            SCOPED_TRACE(testing::Message() << name << " " << nth);
            EXPECT_EQ(win32::GetLastError(), result ? 0 : win32::kErrorNotEnoughMemory);
            platform::SetUserLocale("de_DE");
            ASSERT_NE(win32::GetDateFormatW(kUser, 0, &mTime, nullptr, text, 64), 0);
            EXPECT_EQ(Narrow(text), "01.03.2005");
            platform::SetUserLocale("en_US");
        };
        EXPECT_GT(FailEachNew(body, check), 0) << name;
    }
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
