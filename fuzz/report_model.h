// A model of reports: the events that a report causes, in order, and the messages that the report
// posts.

#ifndef FUZZ_REPORT_MODEL_H
#define FUZZ_REPORT_MODEL_H

#include <algorithm>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "U_Posted.h"
#include "report_events.h"

// A thread as the library knows it.
struct Reporter
{
    bool mIsUI = false;
    std::string mText;
    U_u16 mSeverity = U_Sev_MESSAGE;
    U_u32 mLocation = 0;
    U_u32 mError = 0;
    bool mIsReporting = false;
    std::vector<bool> mQuiet; // for each level, whether it logs
};

// How callbacks with a refcon answer.
struct Script
{
    enum
    {
        kNothing,
        kRemovesItself,
        kAdds,
        kReports, // is ignored
        kPosts,
        kThrows,
        kActions
    };

    unsigned mAction = kNothing;
    int mAnswer = 0;
    unsigned mRefcon = 0;
};

// The effects of a report on the log, the callbacks and the user.
class ReportModel
{
protected:
    // The callbacks have a number of a script as their refcon.
    ReportModel(U_LoggingCallback first, U_LoggingCallback second) : mFirst(first), mSecond(second)
    {
        mMasks.push_back({0, kStartMask});
        mOwn.mIsUI = true;
    }

    static const std::size_t kSlots = 10;
    static const std::size_t kScripts = 3;

    // The posts of callbacks, and the posts and reports during alerts, of an input. Without a limit
    // each report during an alert causes posts, each post an alert, and so on.
    static const unsigned kReactions = 12;

    U_u32 Mask() const { return mMasks.front().second; }

    void Complete(U_u32 id)
    {
        const auto place = std::find_if(mMasks.begin(), mMasks.end(),
                                        [id](const auto& mask) { return id && mask.first == id; });
        if (place != mMasks.end())
            mMasks.erase(place);
    }

    // Returns whether there is such a slot. An empty slot is free.
    bool Replace(const std::pair<U_LoggingCallback, unsigned>& slot,
                 const std::pair<U_LoggingCallback, unsigned>& with)
    {
        const auto place = std::find(mCallbacks, mCallbacks + kSlots, slot);
        if (place != mCallbacks + kSlots)
            *place = with;
        return place != mCallbacks + kSlots;
    }

    void Refusal(Reporter& thread, U_u32 location, const std::string& message)
    {
        thread.mText = "internal verification failure, sorry! {" + message + "}";
        thread.mError = 0;
        Predict(thread, location, U_Sev_PROBLEM, thread.mText, false);
    }

    // Expects the events of a report. Returns the code that the report throws, or 0.
    int Predict(Reporter& thread, U_u32 location, U_u16 severity, const std::string& text,
                bool isGrouped, bool isLogged = true)
    {
        thread.mError = 0;
        if (std::exchange(thread.mIsReporting, true))
            return 0;
        const bool isFatal = severity == U_Sev_FATAL;
        mIsDying |= isFatal;
        const bool isShown = isFatal || thread.mQuiet.empty();
        const Message message = {location, severity, Prefix(severity) + text};
        int code = 0;
        if (isShown || thread.mQuiet.back())
        {
            const U_u32 mask = Mask();
            const bool hasLine = severity == U_Sev_WARNING || severity == U_Sev_PROBLEM || isFatal;
            if (isLogged && hasLine && ((mask | mask >> 16) & severity))
                mEvents.push_back(std::string("log ") +
                                  (isFatal                     ? "FATAL "
                                   : severity == U_Sev_PROBLEM ? "PROBLEM "
                                                               : "WARNING ") +
                                  message.mText + "\t" + LocationText(location));
            if (mask >> 16 & severity)
                code = PredictCallbacks(thread, message);
        }
        if (!code && isShown)
        {
            thread.mSeverity = severity;
            thread.mLocation = location;
            mCount += severity != U_Sev_DETAIL;
            // A dying process shows no leaks.
            if ((Mask() & severity) && (severity != U_Sev_LEAK || !mIsDying))
            {
                if (thread.mIsUI && mPosts <= 0 && !isGrouped)
                {
                    PredictDisplay();
                    PredictAlert(message);
                }
                else
                    Post(thread, message);
            }
        }
        thread.mIsReporting = false;
        return code;
    }

    int PredictCallbacks(Reporter& thread, const Message& message)
    {
        int code = 0;
        for (const auto& slot : mCallbacks)
        {
            const auto [callback, refcon] = slot;
            if (!callback)
                continue;
            const Script& script = mScripts[refcon];
            mEvents.push_back(
                CallEvent(callback == mFirst ? "first " : "second ", refcon,
                          {message.mLocation, message.mSeverity, Cut(message.mText)}));
            code = script.mAnswer;
            if (script.mAction == Script::kRemovesItself)
                Replace(slot, {});
            if (script.mAction == Script::kAdds)
                Replace({}, {mSecond, script.mRefcon});
            if (script.mAction == Script::kPosts && mReactions++ < kReactions)
                PredictPost(thread, 1, U_Sev_WARNING, "posted by a callback");
            if (script.mAction == Script::kThrows && code)
                break;
        }
        return code;
    }

    void PredictPost(Reporter& thread, U_u32 location, U_u16 severity, const std::string& text)
    {
        if ((Mask() & severity) && (thread.mQuiet.empty() || severity == U_Sev_FATAL))
            Post(thread, {location, severity, Prefix(severity) + text});
    }

    void Post(const Reporter& thread, const Message& message)
    {
        if (thread.mIsUI || !(message == mLastShown))
            mPosted.push_back(message);
    }

    void PredictDisplay()
    {
        for (const Message& message : Coalesced(std::exchange(mPosted, {})))
            PredictAlert(message);
    }

    void PredictAlert(const Message& message)
    {
        const unsigned icon = message.mSeverity == U_Sev_MESSAGE   ? 0
                              : message.mSeverity == U_Sev_WARNING ? 0x30
                              : message.mSeverity == U_Sev_PROBLEM ? 0x10
                                                                   : 0x40;
        const bool isMessage = message.mSeverity == U_Sev_MESSAGE;
        mLastShown = message;
        mEvents.push_back(AlertEvent(
            0x42000 | icon,
            message.mText + (isMessage ? "" : "\n\n" + LocationText(message.mLocation))));
        if (mPredictsAlert || !mDuringAlert || mReactions++ >= kReactions)
            return;
        mPredictsAlert = true;
        if (mDuringAlert == 1)
            PredictPost(mOwn, 0, U_Sev_INFO, "during an alert");
        if (mDuringAlert == 2)
            Predict(mOwn, 0, U_Sev_INFO, "within an alert", false);
        mPredictsAlert = false;
    }

    void PredictRepeat(const U_DeferredState& state, bool isAsync, const char* fallback)
    {
        const U_u32 ofStretch = Mask();
        const bool isOwn = !mOwn.mText.empty();
        const std::string text = isOwn      ? mOwn.mText
                                 : fallback ? fallback
                                            : "missing deferred error information.";
        const U_u16 severity = mOwn.mSeverity;
        mMasks.push_front({0, (state.mSavedInteract & 0xFFFF) |
                                  ((state.mSavedInteract & ~ofStretch) & 0xFFFF0000)});
        if (isAsync)
            PredictPost(mOwn, mOwn.mLocation, severity, text);
        else
        {
            mOwn.mText = text;
            const bool isLogged = isOwn && ((ofStretch | ofStretch >> 16) & severity);
            Predict(mOwn, mOwn.mLocation, severity, text, text.find(kTag) != std::string::npos,
                    !isLogged);
        }
        const auto repeat = std::find_if(mMasks.begin(), mMasks.end(),
                                         [](const auto& mask) { return !mask.first; });
        mMasks.erase(repeat);
    }

    Events mEvents; // predicted since the last check
    Reporter mOwn;
    U_u32 mCount = 0;
    bool mIsDying = false;                     // since a fatal report
    std::list<std::pair<U_u32, U_u32>> mMasks; // the ids and the masks, 0 for the base mask
    std::pair<U_LoggingCallback, unsigned> mCallbacks[kSlots] = {}; // with the number of a script
    Script mScripts[kScripts];
    unsigned mDuringAlert = 0; // 0 nothing, 1 posts, 2 reports
    bool mPredictsAlert = false;
    unsigned mReactions = 0;
    int mPosts = 0;
    Message mLastShown;
    std::vector<Message> mPosted;
    const U_LoggingCallback mFirst;
    const U_LoggingCallback mSecond;
};

#endif
