#include "U_Machine.h"

#include <tolv/profile.h>
#include <win32/clocks.h>

#include "indep/errors/Report.h"
#include "indep/frame/BirthSteps.h"
#include "indep/frame/UTF16Literal.h"

namespace
{
constexpr UTF16Literal kUseTicks = u"UseAltPreviewTimingMode";

enum TimingMode
{
    kUndecided, // before birth; reads the ticks
    kCounter,
    kTicks
};

// Written by birth only.
TimingMode sMode = kUndecided;
double sSecondsPerCount = 0;

double SecondsNow()
{
    long long counts = 0;
    if (sMode == kCounter && win32::QueryPerformanceCounter(&counts))
        return static_cast<double>(counts) * sSecondsPerCount;
    return win32::GetTickCount() * 0.001;
}
} // namespace

void Up_InitTiming()
{
    if (sMode != kUndecided)
        return;
    int useTicks = 0;
    TOLV_GetRequiredProfileInt(kUseTicks.mUnits, &useTicks);
    sMode = kTicks;
    long long frequency = 0;
    if (useTicks != 0 || !win32::QueryPerformanceFrequency(&frequency) || frequency < 1)
        return;
    sSecondsPerCount = 1.0 / static_cast<double>(frequency);
    sMode = kCounter;
}

U_Status U_SecondsSinceBoot(double* out)
{
    if (!out)
        return BadArgument("U_SecondsSinceBoot: no place for the answer");
    *out = SecondsNow();
    return 0;
}

U_Status U_MillisecondsSinceBoot(U_u64* out)
{
    if (!out)
        return BadArgument("U_MillisecondsSinceBoot: no place for the answer");
    *out = static_cast<U_u64>(SecondsNow() * 1000);
    return 0;
}

U_Status U_Delay(U_u64 milliseconds)
{
    const double seconds = static_cast<double>(milliseconds) * 0.001;
    double start = SecondsNow();
    double last = start;
    while (last - start < seconds)
    {
        const double now = SecondsNow();
        if (now < last) // the counter has restarted: the time that has passed counts
            start -= last - now;
        last = now;
    }
    return 0;
}
