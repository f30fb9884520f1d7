// Effects of reports as texts: calls of callbacks, alerts and groups of messages. Two threads that
// report at once.

#ifndef FUZZ_REPORT_EVENTS_H
#define FUZZ_REPORT_EVENTS_H

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "U_Interact.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "library.h"
#include "model.h"
#include "second_thread.h"

typedef std::vector<std::string> Events;

const char kTag[] = "Grouped_Message_{";
const U_u32 kStartMask = 0xFFBFFF9F;

inline Events sEvents; // that happened

inline SecondThread& Second()
{
    static SecondThread second;
    return second;
}

inline std::string LocationText(U_u32 location)
{
    return location ? "( " + std::to_string(location >> 16) +
                          " :: " + std::to_string(location & 0xFFFF) + " )"
                    : "";
}

inline std::string Prefix(U_u16 severity)
{
    static const std::map<U_u16, const char*> sPrefixes = {
        {U_Sev_MESSAGE, ""},
        {U_Sev_INFO, "fuzz: "},
        {U_Sev_WARNING, "fuzz warning: "},
        {U_Sev_PROBLEM, "fuzz error: "},
        {U_Sev_FATAL, "fuzz can\xE2\x80\x99t continue: "},
        {U_Sev_DETAIL, "  "},
        {U_Sev_DEBUG, "fuzz debug info: "},
        {U_Sev_LEAK, "fuzz warning: "}};
    const auto found = sPrefixes.find(severity);
    return found == sPrefixes.end() ? "fuzzinvalid severity code: " : found->second;
}

// Cuts a text to the size of a thread's last error, between two characters. Callbacks get the same.
inline std::string Cut(std::string text)
{
    std::size_t size = std::min(text.size(), U_ReportTextSize - 1);
    while (size < text.size() && (text[size] & 0xC0) == 0x80)
        --size;
    text.resize(size);
    return text;
}

struct Message
{
    U_u32 mLocation = 0;
    U_u16 mSeverity = U_Sev_MESSAGE;
    std::string mText; // with the prefix

    bool operator==(const Message& other) const
    {
        return mLocation == other.mLocation && mSeverity == other.mSeverity && mText == other.mText;
    }
};

inline std::string AlertEvent(unsigned flags, const std::string& text)
{
    return "alert " + std::to_string(flags) + " " + text;
}

inline std::string CallEvent(const char* callback, unsigned refcon, const Message& message)
{
    return callback + std::to_string(refcon) + LocationText(message.mLocation) + " " +
           std::to_string(message.mSeverity) + " " + message.mText;
}

// The shown messages of some posted ones.
inline std::vector<Message> Coalesced(const std::vector<Message>& posted)
{
    std::vector<Message> shown;
    std::map<std::string, std::vector<Message>> groups;
    for (Message message : posted)
    {
        const std::size_t tag = message.mText.find(kTag);
        if (tag == std::string::npos)
        {
            shown.push_back(message);
            continue;
        }
        const std::size_t end = message.mText.find('}');
        const std::string prefix = message.mText.substr(0, tag ? tag - 1 : 0) + " ";
        std::string key =
            prefix + message.mText.substr(tag + sizeof(kTag) - 1, end - tag - sizeof(kTag) + 1);
        const std::size_t separator = key.find("|||");
        if (separator != std::string::npos)
            key.insert(separator + 3, prefix);
        message.mText.erase(0, end + 1);
        groups[key].push_back(message);
    }
    for (const auto& [key, messages] : groups)
    {
        const std::size_t hash = key.find("###");
        const std::string headings = key.substr(0, hash);
        const std::size_t bar = headings.find("|||");
        Message group = messages[0];
        if (messages.size() == 1)
            group.mText =
                headings.substr(bar == std::string::npos ? 0 : bar + 3) + "\r\n\r\n" + group.mText;
        else
        {
            std::string label = hash == std::string::npos ? "Errors:" : key.substr(hash + 3);
            if (label.compare(0, 2, "@0") == 0)
                label.erase(0, 3);
            group = Message();
            group.mText = headings.substr(0, bar) + "\r\n\r\n" + std::to_string(messages.size()) +
                          " " + label;
            for (std::size_t i = 0; i < messages.size(); ++i)
            {
                group.mText += "\r\n\r\n" + std::to_string(i + 1) + ")   " + messages[i].mText;
                if (messages[i].mSeverity <= U_Sev_FATAL)
                    group.mSeverity = std::max(group.mSeverity, messages[i].mSeverity);
            }
        }
        shown.push_back(group);
    }
    return shown;
}

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
        U_ReportError(0, U_Sev_MESSAGE, U_UTF16String()); // each input starts with an empty text
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
