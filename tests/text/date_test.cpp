// Dates, second counts, the time zone, version words and Pascal strings.

#include <cstring>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <gmock/gmock.h>

#include "U_Date.h"
#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/System.h"
#include "tests/support/Text.h"
#include "tests/support/TimeZone.h"

namespace
{
using boost::posix_time::ptime;
using boost::posix_time::time_from_string;

typedef BornLibrary Dates;

const U_u32 kAfternoon = 3847618921; // 3 December 2025, 15:02:01
// The C runtime of Windows knows no rules of daylight saving but those of New York.
const char* const kNewYork = IsWindows() ? "EST5EDT" : "EST5EDT,M3.2.0,M11.1.0";
const char kSydney[] = "AEST-10AEDT,M10.1.0,M4.1.0/3";
// Zones whose daylight saving flag is set while the clock is behind standard time: Dublin in
// winter, Casablanca for a month, which includes New Year in some years.
const char kDublin[] = "IST-1GMT0,M10.5.0,M3.5.0/1";
const char kCasablanca[] = "<+01>-1<+00>0,J46/3,J81/2";
const char kCasablancaOverNewYear[] = "<+01>-1<+00>0,J348/3,J18/2";

std::string Shown(U_u32 seconds, int type, int display, bool showSeconds = true)
{
    return Narrow(U_SecondsToDateTimeString(seconds, static_cast<U_DateType>(type),
                                            static_cast<U_DateTimeDisplay>(display), showSeconds));
}

// `time` is in UTC.
void SetNow(const char* time)
{
    const long long milliseconds =
        (time_from_string(time) - ptime(boost::gregorian::date(1970, 1, 1))).total_milliseconds();
    platform::SetWallClock([milliseconds] { return milliseconds; });
}

typedef BornLibrary Versions;
typedef BornLibrary PascalStrings;

std::string AsciiVersion(U_u32 version, bool noDebugSuffix)
{
    char text[256 + 1];
    std::memset(text, 'Z', sizeof(text));
    EXPECT_EQ(U_AsciiVersion(version, noDebugSuffix, text), 0);
    EXPECT_EQ(text[256], 'Z');
    return text;
}

// Returns the short form of a German Wednesday.
std::string Wednesday()
{
    return IsWine() ? "Mi." : "Mi";
}

std::string LastReport()
{
    char text[U_ReportTextSize];
    U_u16 severity = 0;
    U_u32 location = 1;
    U_GetLastError(text, &severity, &location, nullptr);
    EXPECT_EQ(severity, U_Sev_PROBLEM);
    EXPECT_EQ(location, 0u);
    return text;
}
} // namespace

TEST_F(Dates, EachLocaleWritesDatesAndTimesItsOwnWay)
{
    // The short, long and abbreviated date, the time with and without seconds.
    const std::tuple<const char*, std::string, std::string, std::string, std::string, std::string>
        rows[] = {
            {"en_US", "12/3/2025", "Wednesday, December 3, 2025", "Wed, Dec 3, 2025", "3:02:01 PM",
             "3:02 PM"},
            {"de_DE", IsWine() ? "3.12.2025" : "03.12.2025", "Mittwoch, 3. Dezember 2025",
             Wednesday() + ", 3. Dez. 2025", "15:02:01", "15:02"},
            // Wine writes a day of German and Japanese in one digit.
            {"ja_JP", IsWine() ? "2025/12/3" : "2025/12/03", "2025年12月3日水曜日",
             "2025年12月3日水", "15:02:01", "15:02"},
            {"ar_EG", "٣\u200f/١٢\u200f/٢٠٢٥", "الأربعاء، ٣ ديسمبر ٢٠٢٥", "الأربعاء، ٣ ديسمبر ٢٠٢٥",
             "٣:٠٢:٠١ م", "٣:٠٢ م"},
            {"es_ES", "3/12/2025", "miércoles, 3 de diciembre de 2025", "mié, 3 de dic de 2025",
             "15:02:01", "15:02"},
            {"fi_FI", "3.12.2025", "keskiviikko 3. joulukuuta 2025", "ke 3. jouluk. 2025",
             "15.02.01", "15.02"},
        };
    for (const auto& [locale, shortDate, longDate, abbreviated, time, shortTime] : rows)
    {
        SCOPED_TRACE(locale);
        if (IsWine() && std::string("ar_EG es_ES fi_FI").find(locale) != std::string::npos)
            continue; // Wine writes the digits of English, and other short names
        platform::SetUserLocale(locale);
        const std::string dates[] = {shortDate, longDate, abbreviated, shortDate};
        for (int type = 0; type < 4; ++type)
        {
            EXPECT_EQ(Shown(kAfternoon, type, U_DateTimeDisplay_Date), dates[type]);
            EXPECT_EQ(Shown(kAfternoon, type, U_DateTimeDisplay_DateAndTime),
                      dates[type] + ", " + time);
        }
        EXPECT_EQ(Shown(kAfternoon, -1, -1), shortDate);
        EXPECT_EQ(Shown(kAfternoon, 0, U_DateTimeDisplay_Time), time);
        EXPECT_EQ(Shown(kAfternoon, 0, 3, false), shortTime);
    }
}

TEST_F(Dates, TheWholeRangeOfCountsIsShownWithoutAZone)
{
    const std::pair<U_u32, const char*> rows[] = {
        {0, "Fri, Jan 1, 1904, 12:00:00 AM"},
        {2082844799, "Wed, Dec 31, 1969, 11:59:59 PM"},
        {4230328447, "Tue, Jan 19, 2038, 3:14:07 AM"},
        {4230328448, "Fri, Dec 13, 1901, 8:45:52 PM"},
        {0xFFFFFFFF, "Thu, Dec 31, 1903, 11:59:59 PM"},
    };
    const ScTimeZone zone(kNewYork); // has no effect
    for (const auto& [seconds, shown] : rows)
        EXPECT_EQ(Shown(seconds, U_DateType_Abbreviated, U_DateTimeDisplay_DateAndTime), shown);
}

TEST_F(Dates, PartsThatTheSystemCannotWriteAreOmitted)
{
    const std::pair<const char*, std::string> rows[] = {
        // Wine copies the letters of YYYY.
        {"EnumDateFormatsExEx",
         IsWine() ? "Mi., Dez 3, YYYY, 15:02:01" : "Mi, Dez. 3, 2025, 15:02:01"},
        {"GetDateFormatW", "15:02:01"},
        {"GetTimeFormatW", Wednesday() + ", 3. Dez. 2025"},
        {nullptr, Wednesday() + ", 3. Dez. 2025, 15:02:01"},
    };
    platform::SetUserLocale("de_DE");
    // The function is missing after birth, or at birth already.
    for (const bool bornWithout : {false, true})
    {
        for (const auto& [missing, shown] : rows)
        {
            platform::SetMissingFunction(missing);
            if (bornWithout)
            {
                LiveAnew();
                if (missing == rows[0].first)
                    platform::SetMissingFunction(nullptr); // too late
            }
            EXPECT_EQ(Shown(kAfternoon, U_DateType_Abbreviated, U_DateTimeDisplay_DateAndTime),
                      shown);
        }
    }
    EXPECT_TRUE(mAlerts.Texts().empty());
}

TEST_F(Dates, SecondCountsConvertToTimesAndBack)
{
    const std::pair<U_u32, const char*> rows[] = {
        {0, "1904-01-01 00:00:00"},          {2082844800, "1970-01-01 00:00:00"},
        {0x7FFFFFFF, "1972-01-19 03:14:07"}, {0x80000000, "1972-01-19 03:14:08"},
        {0xFFFFFFFF, "2040-02-06 06:28:15"},
    };
    const ScTimeZone zone(kNewYork);
    for (const U_SecondsType type : {U_SecondsType_AsIs, static_cast<U_SecondsType>(-1)})
    {
        for (const auto& [seconds, text] : rows)
        {
            const ptime time = time_from_string(text);
            EXPECT_EQ(U_SecondsToPtime(seconds, type), time);
            EXPECT_EQ(U_PtimeToSeconds(time, type), seconds);
            EXPECT_EQ(U_PtimeToSeconds(time + boost::posix_time::microseconds(999999), type),
                      seconds);
        }
        EXPECT_EQ(U_PtimeToSeconds(time_from_string("1903-12-31 23:59:58.5"), type), 0xFFFFFFFF);
        EXPECT_EQ(U_PtimeToSeconds(time_from_string("2040-02-06 06:28:16"), type), 0u);
    }
}

TEST_F(Dates, LocalCountsUseTheOffsetOfTheDateForwardAndOfTodayBack)
{
    const std::pair<const char*, const char*> toLocal[] = {
        {"2021-07-01 12:00:00", "2021-07-01 08:00:00"},
        {"2021-01-01 12:00:00", "2021-01-01 07:00:00"},
        {"1970-01-01 00:00:00", "1969-12-31 19:00:00"},
        {"1969-12-31 23:59:59", "1969-12-31 23:59:59"}, // before 1970, so not converted
    };
    const ScTimeZone zone(kNewYork);
    for (const auto& [utc, local] : toLocal)
    {
        if (IsWine() && utc == toLocal[0].first)
            continue; // the C runtime of Wine ignores the daylight saving of TZ
        EXPECT_EQ(U_PtimeToSeconds(time_from_string(utc), U_SecondsType_Local),
                  U_PtimeToSeconds(time_from_string(local), U_SecondsType_AsIs));
    }

    const U_u32 seconds =
        U_PtimeToSeconds(time_from_string("2021-07-01 08:00:00"), U_SecondsType_AsIs);
    SetNow("2026-07-15 09:00:00");
    EXPECT_EQ(U_SecondsToPtime(seconds, U_SecondsType_Local),
              time_from_string(IsWine() ? "2021-07-01 13:00:00" : "2021-07-01 12:00:00"));
    SetNow("2026-01-15 09:00:00");
    EXPECT_EQ(U_SecondsToPtime(seconds, U_SecondsType_Local),
              time_from_string("2021-07-01 13:00:00"));
    EXPECT_EQ(U_SecondsToPtime(0xFFFFFFFF, U_SecondsType_Local),
              time_from_string("2040-02-06 11:28:15"));
}

TEST_F(Dates, ZonesAreNamedByTheirWholeHours)
{
    std::vector<std::tuple<std::string, std::string, std::string>> rows = {
        {kNewYork, "2026-01-15 04:59:00", "EST"},
        {kNewYork, "2026-07-15 04:30:00", "EST"},
        {kSydney, "2026-01-15 20:00:00", "+10"},
        {kSydney, "2026-07-15 20:00:00", "+10"},
        {kDublin, "2026-01-15 23:30:00", "GMT"},
        {kDublin, "2026-07-15 23:30:00", "GMT"},
        {kCasablanca, "2026-01-15 12:00:00", "+01"},
        {kCasablanca, "2026-03-01 12:00:00", "GMT"},
        {kCasablanca, "2026-07-15 12:00:00", "+01"},
        {kCasablancaOverNewYear, "2031-07-15 12:00:00", "+01"},
        {"<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", "2026-01-15 12:00:00", "+10"},
        {"ZZZ-13", "2026-01-15 12:00:00", "-11"},
        {"ZZZ-14", "2026-01-15 05:00:00", "-10"},
        {"<+0530>-5:30", "2026-01-15 04:29:59", "+05"},
        {"<+0530>-5:30", "2026-01-15 04:30:00", "+06"}};
    // At some of these hours the local date is not the date in UTC.
    const char* const names[] = {"-11", "-10", "-09", "PST", "MST", "CST", "EST", "-04",
                                 "-03", "-02", "-01", "GMT", "+01", "+02", "+03", "+04",
                                 "+05", "+06", "+07", "+08", "+09", "+10", "+11", "+12"};
    for (int offset = -11; offset <= 12; ++offset)
    {
        for (const char* hour : {"00", "12", "23"})
            rows.emplace_back("ZZZ" + std::to_string(-offset),
                              "2026-01-15 " + std::string(hour) + ":30:00", names[offset + 11]);
    }
    for (const auto& [zoneName, now, expected] : rows)
    {
        if (IsWindows() && zoneName.find_first_of(",<") != std::string::npos)
            continue; // POSIX only
        SCOPED_TRACE(zoneName + " at " + now);
        const ScTimeZone zone(zoneName.c_str());
        SetNow(now.c_str());
        std::tm local = {};
        std::string name;
        EXPECT_EQ(U_DateTimeZoneNow(&local, name), 0);
        EXPECT_EQ(name, expected);
    }

    if (IsWine())
        return; // the C runtime of Wine ignores the daylight saving of TZ
    const ScTimeZone zone(kNewYork);
    SetNow("2026-07-15 03:05:06");
    std::tm local = {};
    std::string name;
    ASSERT_EQ(U_DateTimeZoneNow(&local, name), 0);
    EXPECT_EQ(boost::posix_time::ptime_from_tm(local), time_from_string("2026-07-14 23:05:06"));
    EXPECT_GT(local.tm_isdst, 0);
    EXPECT_EQ(local.tm_wday, 2);
}

TEST_F(Dates, ABrokenClockIsAnErrorOnlyWhereTheTimeIsNeeded)
{
    platform::SetWallClock([] { return -1ll; });
    std::tm local = {};
    local.tm_year = 7;
    std::string name = "before";
    EXPECT_EQ(U_DateTimeZoneNow(&local, name), 14);
    EXPECT_EQ(local.tm_year, 7);
    EXPECT_EQ(name, "before");
    EXPECT_EQ(mAlerts.Texts().size(), 1u);
    EXPECT_EQ(U_DateTimeZoneNow(nullptr, name), 3);
    EXPECT_THAT(
        [] { U_SecondsToPtime(0, U_SecondsType_Local); },
        testing::ThrowsMessage<std::runtime_error>("could not convert calendar time to UTC time"));
    EXPECT_EQ(U_SecondsToPtime(0, U_SecondsType_AsIs), time_from_string("1904-01-01 00:00:00"));
}

TEST_F(Versions, AreWrittenFieldByField)
{
    // The UTF-16 text, and the multibyte text if that is different.
    const std::tuple<U_u32, bool, const char*, const char*> rows[] = {
        {0x04080600, false, "9.0", nullptr},
        {0x440807FF, false, "9.0", nullptr}, // bit 30, and a build without a stage
        {0x04E1A541, false, "12.3.4x321 Windows", "12.3.4x321 (Windows)"},
        {0x06808205, false, "8.1x5 Macintosh PPC", "8.1x5 (Macintosh PPC)"},
        {0x82FF8600, false, "7.15\u2206 Macintosh Intel", "7.15\xBC (Macintosh Intel)"},
        {0x82FF8600, true, "7.15 Macintosh Intel", "7.15 (Macintosh Intel)"},
        {0x3F3879FF, false, "127.0.15x511 Windows 64", "127.0.15x511 (Windows 64)"},
        {0x23408600, false, "64.1 Macintosh 64", "64.1 (Macintosh 64)"},
        {0xFFFFFFFF, false, "127.15.15\u2206 unknown", "127.15.15\xBC (unknown)"},
    };
    for (const auto& [version, noDebugSuffix, wide, narrow] : rows)
    {
        EXPECT_EQ(Narrow(U_UTF16Version(version, noDebugSuffix)), wide);
        EXPECT_EQ(AsciiVersion(version, noDebugSuffix), narrow ? narrow : wide);
    }
}

TEST_F(Versions, TranslationsOfAnyLengthFit)
{
    const std::u16string suffix(20, u's');
    const std::u16string name(300, u'n');
    DictionaryImage image = BinaryImage({{"/private/QXDebugVersionSuffix", suffix},
                                         {"/QX/U/ARCH/Windows64", name},
                                         {"/QX/U/ARCH/MacintoshPPC", u""}});
    ASSERT_EQ(LoadDictionary(image), 0);
    EXPECT_EQ(U_UTF16Version(0x87080600, false), Units(u"9.0" + suffix + u" " + name));
    const std::string shortSuffix(15, 's');
    const std::string shortName = " (" + std::string(199, 'n') + ")";
    EXPECT_EQ(AsciiVersion(0x87080600, false), "9.0" + shortSuffix + shortName);
    EXPECT_EQ(U_UTF16Version(0x06880600, false), Units(u"9.0"));
    EXPECT_EQ(AsciiVersion(0x06880600, false), "9.0");
}

TEST_F(PascalStrings, TextsThatAreTooLongAreReported)
{
    const std::string longest(255, 'a');
    const std::string longer(300, 'b');
    // The text that U_CopyCtoPString stores. U_CopyPtoCString stores nothing of a longer text.
    const std::tuple<std::string, int, std::string> rows[] = {{"", 1, ""},
                                                              {"abc", 4, "abc"},
                                                              {"abcd", 4, "abc"},
                                                              {longest, 256, longest},
                                                              {longest, 255, longest.substr(1)}};
    for (const auto& [text, size, stored] : rows)
    {
        SCOPED_TRACE(text + " in " + std::to_string(size));
        const int code = text == stored ? 0 : 10;
        unsigned char pascal[600];
        std::memset(pascal, 'Z', sizeof(pascal));
        EXPECT_EQ(U_CopyCtoPString(text.c_str(), size, pascal), code);
        EXPECT_EQ(std::string(pascal + 1, pascal + 1 + pascal[0]), stored);
        EXPECT_EQ(pascal[size], 'Z');

        unsigned char source[256];
        EXPECT_EQ(U_CopyCtoPString(text.c_str(), 256, source), 0);
        char back[257] = "before";
        EXPECT_EQ(U_CopyPtoCString(source, size, back), code);
        EXPECT_EQ(back, code ? "before" : text);
    }
    unsigned char pascal[512];
    EXPECT_EQ(U_CopyCtoPString(longer.c_str(), 512, pascal), 10);
    EXPECT_EQ(std::string(pascal, pascal + 256), "\xFF" + longer.substr(45));
    EXPECT_EQ(LastReport(), "text too long for 512-byte pascal string buffer ('" + longer + "').");
    EXPECT_EQ(U_CopyCtoPString("abc", -1, pascal), 10);
    EXPECT_EQ(U_CopyCtoPString("abc", 0, pascal), 10);
    EXPECT_EQ(pascal[0], 255);
    EXPECT_EQ(LastReport(), "text too long for 0-byte pascal string buffer ('abc').");
    char text[] = "before";
    EXPECT_EQ(U_CopyPtoCString(reinterpret_cast<const unsigned char*>("\3abcdef"), 3, text), 10);
    EXPECT_EQ(LastReport(), "text too long for 3-byte buffer ('abc').");
    EXPECT_EQ(U_CopyPtoCString(reinterpret_cast<const unsigned char*>("\0"), -1, text), 10);
    EXPECT_STREQ(text, "before");
}

TEST_F(PascalStrings, AreCutAtACharacterByTheBufferAndAnywhereByTheCount)
{
    const ScActiveCodePage japanese(932);
    std::string source = "ba";
    for (int i = 0; i < 150; ++i)
        source += "\x83\x41";
    unsigned char pascal[512];
    EXPECT_EQ(U_CopyCtoPString(source.c_str(), 512, pascal), 10);
    EXPECT_EQ(std::string(pascal, pascal + 256), "\xFF" + source.substr(0, 255));
    EXPECT_EQ(U_CopyCtoPString(source.c_str(), 256, pascal), 10);
    EXPECT_EQ(pascal[0], 254);
}

TEST_F(PascalStrings, ConvertInPlace)
{
    unsigned char text[8] = "abcde";
    EXPECT_EQ(U_CopyCtoPString(reinterpret_cast<char*>(text), 5, text), 10);
    EXPECT_EQ(std::memcmp(text, "\4abcd", 5), 0);
    EXPECT_EQ(LastReport(), "text too long for 5-byte pascal string buffer ('abcde').");
    EXPECT_EQ(U_Pstrcpy(text + 1, text), text + 1);
    EXPECT_EQ(std::memcmp(text + 1, "\4abcd", 5), 0);
    EXPECT_EQ(U_CopyPtoCString(text + 1, 5, reinterpret_cast<char*>(text + 1)), 0);
    EXPECT_STREQ(reinterpret_cast<char*>(text + 1), "abcd");
    EXPECT_EQ(U_CopyCtoPString(nullptr, 8, text), 3);
    EXPECT_EQ(U_CopyPtoCString(text, 8, nullptr), 3);
}
