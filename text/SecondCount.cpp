// Second counts, the time now and its zone.

#include "U_Date.h"

#include <algorithm>
#include <cassert>
#include <stdexcept>
#include <utility>

#include <boost/date_time/c_local_time_adjustor.hpp>
#include <boost/date_time/posix_time/conversion.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <win32/clocks.h>

#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"

using boost::posix_time::ptime;
using boost::posix_time::time_duration;

namespace
{
typedef boost::date_time::c_local_adjustor<ptime> LocalTime;

const U_i64 kMicroseconds = 1000000; // per second
const U_u32 kLargestStep = 0x7FFFFFFF;

const int kFirstZone = -11;
const int kLastZone = 12;
const char* const kZones[] = {"-11", "-10", "-09", "PST", "MST", "CST", "EST", "-04",
                              "-03", "-02", "-01", "GMT", "+01", "+02", "+03", "+04",
                              "+05", "+06", "+07", "+08", "+09", "+10", "+11", "+12"};

ptime Start()
{
    return ptime(boost::gregorian::date(1904, 1, 1));
}

// Throws if the system could not convert a time.
const std::tm& Converted(const std::tm* record)
{
    if (!record)
        throw std::runtime_error("could not convert calendar time to UTC time");
    return *record;
}

// Returns local time minus UTC, now.
time_duration OffsetOfToday()
{
    const long long now = win32::_time64(nullptr);
    const ptime utc = boost::posix_time::ptime_from_tm(Converted(win32::_gmtime64(&now)));
    return LocalTime::utc_to_local(utc) - utc;
}

// One moment in UTC and in local time.
struct ClockTime
{
    ptime mUtc;
    std::tm mLocal;

    bool IsFlagged() const { return mLocal.tm_isdst > 0; }
    time_duration Offset() const { return boost::posix_time::ptime_from_tm(mLocal) - mUtc; }
};

ClockTime ClockAt(long long seconds)
{
    const ptime utc = boost::posix_time::ptime_from_tm(Converted(win32::_gmtime64(&seconds)));
    return {utc, Converted(win32::_localtime64(&seconds))};
}

// Returns the first day of a month in the year of `now`.
ClockTime ClockOnFirst(const ClockTime& now, boost::gregorian::months_of_year month)
{
    const ptime start(boost::gregorian::date(now.mUtc.date().year(), month, 1));
    return ClockAt(boost::posix_time::to_time_t(start));
}

// Returns the offset without daylight saving. The flag tm_isdst alone does not decide:
//
// - The time zone database flags Europe/Dublin in winter, when local time is an hour less than
//   standard time. So if the flag is the other one for a season, the smaller offset is the
//   standard.
// - Africa/Casablanca is flagged for up to seven weeks a year, in any month, without a change
//   of its standard time. So a season is two days, two months apart, with the same flag.
// - Another offset with the same flag is a lasting change of the zone.
time_duration StandardOffset(const ClockTime& now)
{
    using namespace boost::gregorian;
    const std::pair<months_of_year, months_of_year> seasons[] = {{Jan, Mar}, {Jun, Aug}};
    time_duration offset = now.Offset();
    for (const auto& [first, last] : seasons)
    {
        const ClockTime start = ClockOnFirst(now, first);
        const ClockTime end = ClockOnFirst(now, last);
        if (start.IsFlagged() != now.IsFlagged() && end.IsFlagged() != now.IsFlagged())
            offset = std::min({offset, start.Offset(), end.Offset()});
    }
    return offset;
}

// `offset` is the hour of standard time minus the hour in UTC.
const char* ZoneName(int offset)
{
    if (offset < kFirstZone)
        offset += 24;
    if (offset > kLastZone)
        offset -= 24;
    assert(offset >= kFirstZone && offset <= kLastZone);
    return kZones[offset - kFirstZone];
}
} // namespace

U_Status U_DateTimeZoneNow(std::tm* out, std::string& zone)
{
    if (!out)
        return BadArgument("U_DateTimeZoneNow: no place for the time");
    return Guarded([&] {
        const ClockTime now = ClockAt(win32::_time64(nullptr));
        const ptime standard = now.mUtc + StandardOffset(now);
        zone = ZoneName(
            static_cast<int>(standard.time_of_day().hours() - now.mUtc.time_of_day().hours()));
        *out = now.mLocal;
    });
}

U_u32 U_PtimeToSeconds(const ptime& time, U_SecondsType type)
{
    ptime moment = time;
    if (type == U_SecondsType_Local)
    {
        try
        {
            moment = LocalTime::utc_to_local(time);
        }
        catch (const std::out_of_range&) // before 1970
        {
        }
    }
    return static_cast<U_u32>((moment - Start()).total_microseconds() / kMicroseconds);
}

ptime U_SecondsToPtime(U_u32 seconds, U_SecondsType type)
{
    ptime time = Start();
    if (type == U_SecondsType_Local)
        time -= OffsetOfToday();
    if (seconds > kLargestStep)
    {
        time += boost::posix_time::seconds(kLargestStep);
        seconds -= kLargestStep;
    }
    return time + boost::posix_time::seconds(seconds);
}
