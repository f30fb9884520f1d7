// The process's time zone in tests.

#ifndef TESTS_SUPPORT_TIMEZONE_H
#define TESTS_SUPPORT_TIMEZONE_H

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "tests/support/System.h"

// Another time zone until the scope ends, in the notation of the environment variable TZ:
// "EST5" is five hours west of UTC.
class ScTimeZone
{
public:
    explicit ScTimeZone(const char* zone)
    {
        if (const char* before = std::getenv("TZ"))
            mBefore = before;
        Set(zone);
    }
    ~ScTimeZone() { Set(mBefore ? mBefore->c_str() : nullptr); }
    ScTimeZone(const ScTimeZone&) = delete;
    ScTimeZone& operator=(const ScTimeZone&) = delete;

private:
    static void Set(const char* zone)
    {
        SetVariable("TZ", zone);
        tzset();
    }

    std::optional<std::string> mBefore; // TZ of the environment, if it was set
};

#endif
