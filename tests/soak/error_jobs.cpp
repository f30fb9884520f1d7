#include <cstdio>
#include <cstring>
#include <string>

#include <platform/control.h>

#include "U_Encoding.h"
#include "U_Group.h"
#include "U_Interact.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "tests/soak/Soak.h"
#include "tests/support/Text.h"

namespace
{
const long kMostWaiting = 50; // messages of a thread, so that the display is fast enough
const char kSingle[] = "soak-single";
const char kItem[] = "soak-item";
const char kHidden[] = "hidden"; // also of quiet operations

// The messages of each thread are numbered. Each is shown once, in order.
struct Stream
{
    std::atomic<long> posted{0};
    std::atomic<long> shown{0};
};

Stream sSingles[kThreads];
Stream sItems[kThreads];

void CountShown(const std::string& text, const char* word, Stream* streams)
{
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1))
    {
        int thread = -1;
        long number = -1;
        const bool isRead =
            std::sscanf(text.c_str() + at + std::strlen(word), " %d %ld;", &thread, &number) == 2;
        if (Check(isRead && thread >= 0 && thread < kThreads, "a message as it was posted"))
            Check(streams[thread].shown++ == number, "a message shown once and in order");
    }
}

void Present(const platform::Alert& alert)
{
    const std::string text = Narrow(alert.text);
    Check(U_IsOnUIThread(), "alerts on the UI thread alone");
    Check(text.find(kHidden) == std::string::npos, "quiet and deferred reports hidden");
    CountShown(text, kSingle, sSingles);
    CountShown(text, kItem, sItems);
}

U_UTF16String NextMessage(const char* word, Worker& worker, Stream* streams)
{
    const long number = streams[worker.number].posted++;
    return U_AsciiToUTF16String((std::string(word) + " " + std::to_string(worker.number) + " " +
                                 std::to_string(number) + ";")
                                    .c_str());
}

bool HasManyWaiting(const Stream& stream)
{
    return stream.posted - stream.shown > kMostWaiting;
}

struct Listener
{
    static const int kAlive = 0x5A5A;

    static U_Status Listen(void* refcon, U_u32, U_u16, const char*)
    {
        Listener& listener = *static_cast<Listener*>(refcon);
        Check(listener.alive == kAlive, "no callback after its removal");
        ++listener.heard;
        return 0;
    }

    std::atomic<int> alive{kAlive};
    std::atomic<long> heard{0};
};

long Sum(std::atomic<long> Stream::*count)
{
    long sum = 0;
    for (int thread = 0; thread < kThreads; ++thread)
        sum += sSingles[thread].*count + sItems[thread].*count;
    return sum;
}
void Posts(Worker& worker)
{
    if (HasManyWaiting(sSingles[worker.number]))
        return;
    const U_UTF16String text = NextMessage(kSingle, worker, sSingles);
    const bool isSilent = worker.Below(4) == 0; // without log and callbacks
    if (isSilent)
        return U_AsyncReport(1, U_Sev_INFO, text);
    U_ReportError(1, U_Sev_INFO, text);
    char last[U_ReportTextSize];
    U_GetLastError(last, nullptr, nullptr, nullptr);
    Check(U_MBToUTF16String(last) == text, "a thread's last text is its own");
}

void Grouped(Worker& worker)
{
    if (HasManyWaiting(sItems[worker.number]))
        return;
    static const U_UTF16String& sGroup = *new U_UTF16String(U_FormUniqueGroupErrorMessageIdentifier(
        U_AsciiToUTF16String("Items"), U_AsciiToUTF16String("@0:"), U_AsciiToUTF16String("Item")));
    U_ReportError(1, U_Sev_INFO, U_GroupErrorMessage(NextMessage(kItem, worker, sItems), sGroup));
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
    return {{"posts", &Posts},
            {"grouped", &Grouped},
            {"deferred", &Deferred},
            {"callbacks", &Callbacks}};
}

void EndErrors()
{
    for (int thread = 0; thread < kThreads; ++thread)
    {
        Check(sSingles[thread].posted == sSingles[thread].shown, "all messages shown");
        Check(sItems[thread].posted == sItems[thread].shown, "all grouped messages shown");
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
