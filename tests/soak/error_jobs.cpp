#include <cstdio>
#include <cstring>
#include <string>

#include <platform/control.h>

#include "U_Encoding.h"
#include "U_Interact.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "tests/soak/Soak.h"
#include "tests/support/Text.h"

namespace
{
const long kMostWaiting = 50; // messages of a thread, so that the display is fast enough
const char kWord[] = "soak";
const char kHidden[] = "hidden"; // also of quiet operations

// The messages of each thread are numbered. Each is shown once, in order.
struct Stream
{
    std::atomic<long> posted{0};
    std::atomic<long> shown{0};
};

Stream sStreams[kThreads];

void Present(const platform::Alert& alert)
{
    const std::string text = Narrow(alert.text);
    Check(U_IsOnUIThread(), "alerts on the UI thread alone");
    Check(text.find(kHidden) == std::string::npos, "quiet and deferred reports hidden");
    const std::size_t at = text.find(kWord);
    if (at == std::string::npos)
        return;
    int thread = -1;
    long number = -1;
    const bool isRead =
        std::sscanf(text.c_str() + at + std::strlen(kWord), " %d %ld;", &thread, &number) == 2;
    if (Check(isRead && thread >= 0 && thread < kThreads, "a message as it was posted"))
        Check(sStreams[thread].shown++ == number, "a message shown once and in order");
}

struct Listener
{
    static const int kAlive = 0x5A5A;

    static U_Status Listen(void* refcon, U_u32, U_u16, const char*)
    {
        Listener& listener = *static_cast<Listener*>(refcon);
        Check(listener.alive == kAlive, "no callback after its removal");
        return 0;
    }

    std::atomic<int> alive{kAlive};
};

long Sum(std::atomic<long> Stream::*count)
{
    long sum = 0;
    for (int thread = 0; thread < kThreads; ++thread)
        sum += sStreams[thread].*count;
    return sum;
}

void Posts(Worker& worker)
{
    Stream& stream = sStreams[worker.number];
    if (stream.posted - stream.shown > kMostWaiting)
        return;
    const std::string numbers =
        std::to_string(worker.number) + " " + std::to_string(stream.posted++);
    const U_UTF16String text =
        U_AsciiToUTF16String((std::string(kWord) + " " + numbers + ";").c_str());
    const bool isSilent = worker.Below(4) == 0; // without log and callbacks
    if (isSilent)
        return U_AsyncReport(1, U_Sev_INFO, text);
    U_ReportError(1, U_Sev_INFO, text);
    char last[U_ReportTextSize];
    U_GetLastError(last, nullptr, nullptr, nullptr);
    Check(U_MBToUTF16String(last) == text, "a thread's last text is its own");
}

// The mask holds for all threads. It hides warnings, which no other job reports.
void Deferred(Worker& worker)
{
    const U_u32 kAllButWarnings = ~(U_Sev_WARNING | U_u32(U_Sev_WARNING) << 16);
    U_DeferredState state;
    Check(U_DeferredReportingStart(kAllButWarnings, &state) == 0, "a deferral");
    U_ReportError(0, U_Sev_WARNING, U_AsciiToUTF16String(kHidden));
    if (worker.Below(2))
        Posts(worker);
    Check(U_DeferredReportingEnd(false, nullptr, &state) == 0, "the end of a deferral");
}

void Callbacks(Worker& worker)
{
    Listener listener;
    Check(U_AddLoggingCallback(&Listener::Listen, &listener) == 0, "a logging callback");
    if (worker.Below(2))
        Posts(worker);
    Check(U_RemoveLoggingCallback(&Listener::Listen, &listener) == 0, "a callback's removal");
    listener.alive = 0;
}
} // namespace

Jobs StartErrors()
{
    platform::SetAlertPresenter(&Present);
    return {{"posts", &Posts}, {"deferred", &Deferred}, {"callbacks", &Callbacks}};
}

void EndErrors()
{
    for (int thread = 0; thread < kThreads; ++thread)
    {
        Check(sStreams[thread].posted == sStreams[thread].shown, "all messages shown");
    }
}

long Posted()
{
    return Sum(&Stream::posted);
}

long Shown()
{
    return Sum(&Stream::shown);
}
