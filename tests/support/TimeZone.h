// The process's time zone in tests.

#ifndef TESTS_SUPPORT_TIMEZONE_H
#define TESTS_SUPPORT_TIMEZONE_H

#include <cstdlib>
#include <ctime>

// Another zone, in the notation of the environment's TZ ("EST5" lies five hours
// west), until the scope ends.
class ScTimeZone
{
public:
    explicit ScTimeZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScTimeZone()
    {
        unsetenv("TZ");
        tzset();
    }
    ScTimeZone(const ScTimeZone&) = delete;
    ScTimeZone& operator=(const ScTimeZone&) = delete;
};

#endif
