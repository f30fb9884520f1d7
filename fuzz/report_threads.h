// Two threads that report at once.

#ifndef FUZZ_REPORT_THREADS_H
#define FUZZ_REPORT_THREADS_H

#include <algorithm>
#include <iterator>
#include <string>

#include "U_Posted.h"
#include "U_Report.h"
#include "library.h"
#include "model.h"
#include "report_events.h"

// A thread that reports while another one does. Each of its texts is unique, so that none is taken
// for one that was just shown.
class ReportingThread
{
public:
    ReportingThread(Choices choices, U_u32 location) : mChoices(choices), mLocation(location) {}

    void Run()
    {
        std::size_t quiet = 0;
        while (!mChoices.Empty())
        {
            switch (mChoices.Below(5))
            {
            case 0:
                quiet += U_StartQuietErrorsOnCurrentThread(true) == 0;
                break;
            case 1:
                quiet -= quiet && U_EndQuietErrorsOnCurrentThread() == 0;
                break;
            case 2:
                Up_SetInteractTempComplete(Up_SetInteractTemp(kStartMask));
                break;
            default:
                const std::string text = std::to_string(mLocation) + "." + std::to_string(mCalls++);
                U_ReportError(mLocation, U_Sev_MESSAGE, Wide(text));
                char last[U_ReportTextSize];
                Require(U_GetLastError(last, nullptr, nullptr, nullptr) == 0 && last == text);
                if (!quiet)
                    mShown.push_back(AlertEvent(0x42000, text));
            }
        }
        while (quiet--)
            U_EndQuietErrorsOnCurrentThread();
        U_ReportError(0, U_Sev_MESSAGE, U_UTF16String()); // leaves what an input starts with
    }

    // Counts the reports of the thread.
    static U_Status Count(void* refcon, U_u32 location, U_u16, const char*)
    {
        ReportingThread& self = *static_cast<ReportingThread*>(refcon);
        self.mReceived += self.mLocation == location;
        return 0;
    }

    // All reports have reached the callback, and those that were not quiet the user, in order.
    void RequireReceived(const Events& events) const
    {
        Require(mReceived == mCalls);
        Events own;
        const std::string start = AlertEvent(0x42000, std::to_string(mLocation) + ".");
        std::copy_if(
            events.begin(), events.end(), std::back_inserter(own),
            [&](const std::string& event) { return !event.compare(0, start.size(), start); });
        Require(own == mShown);
    }

    std::size_t Shown() const { return mShown.size(); }

private:
    Choices mChoices;
    const U_u32 mLocation;
    unsigned mCalls = 0;
    unsigned mReceived = 0;
    Events mShown;
};

inline void RunTwoThreads(Choices& choices)
{
    U_u32 before = 0;
    U_u32 after = 0;
    U_GetHowManyErrors(&before);
    ReportingThread own(choices.Half(), 1);
    ReportingThread other(choices, 2);
    for (ReportingThread* thread : {&own, &other})
        Require(U_AddLoggingCallback(&ReportingThread::Count, thread) == 0);
    Second().RunBoth([&] { own.Run(); }, [&] { other.Run(); });
    for (ReportingThread* thread : {&own, &other})
        Require(U_RemoveLoggingCallback(&ReportingThread::Count, thread) == 0);
    U_DisplayPostedErrors();
    U_GetHowManyErrors(&after);
    own.RequireReceived(sEvents);
    other.RequireReceived(sEvents);
    Require(after - before == own.Shown() + other.Shown() + 2);
    sEvents.clear();
    U_ClearLastReportedError();
}

#endif
