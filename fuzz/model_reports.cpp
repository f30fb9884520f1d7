// Reports: who receives which text, in which order, and what is left for later?
//
// The model writes down the lines of the log, the calls of callbacks and the alerts that a call is
// to cause, as texts, and so do the receivers.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <krobase/stack_trace.h>
#include <platform/control.h>

#include "U_Encoding.h"
#include "U_Group.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "library.h"
#include "model.h"
#include "second_thread.h"

// Replaces the function of the platform library: names of frames take most of the time of a
// report.
std::size_t krobase::debug::GenerateStackTrace(void**, std::size_t, std::size_t)
{
    return 0;
}

namespace
{
typedef std::vector<std::string> Events;

const char kTag[] = "Grouped_Message_{";
const U_u16 kSeverities[] = {1, 2, 4, 32, 64, 128, 5, 2, 4, 1, 32, 8, 4, 2, 1, 16};
const U_u32 kLocations[] = {0, 0x10002, 0x120034};
const char* const kTexts[] = {"",
                              "a",
                              "b",
                              "Grouped_Message_{Many|||One###@0 files:}c",
                              "Grouped_Message_{Many|||One###@0 files:}d",
                              "Grouped_Message_{Both}e",
                              "Grouped_Message_{M|||O###L}"};
const U_u32 kStartMask = 0xFFBFFF9F;
const U_u32 kMasks[] = {kStartMask, 0xFFFFFFFF, 0, 0x0000FFFF, 0xFFFF0000, 0xFFFB0006, 0x0024FFFF};

Events sEvents;
SecondThread& Second()
{
    static SecondThread second;
    return second;
}

std::string Narrow(const U_UTF16String& text)
{
    const U_UTF8String narrow = U_UTF16To8String(text);
    return std::string(narrow.begin(), narrow.end());
}

std::string LocationText(U_u32 location)
{
    return location ? "( " + std::to_string(location >> 16) +
                          " :: " + std::to_string(location & 0xFFFF) + " )"
                    : "";
}

std::string Prefix(U_u16 severity)
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

std::string AlertEvent(unsigned flags, const std::string& text)
{
    return "alert " + std::to_string(flags) + " " + text;
}

std::string CallEvent(const char* callback, unsigned refcon, const Message& message)
{
    return callback + std::to_string(refcon) + LocationText(message.mLocation) + " " +
           std::to_string(message.mSeverity) + " " + message.mText;
}

// The shown messages of some posted ones.
std::vector<Message> Coalesced(const std::vector<Message>& posted)
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

class Model
{
public:
    Model()
    {
        sModel = this;
        U_GetHowManyErrors(&mCount);
        mMasks.push_back({0, kStartMask});
        mOwn.mIsUI = true;
    }

    // Restores the masks and callbacks. Empty texts and the count of reports stay.
    ~Model()
    {
        Up_SetInteract(0);
        for (auto& stretch : mStretches)
            U_DeferredReportingEnd(false, nullptr, &stretch.first);
        for (; mPosts > 0; --mPosts)
            U_DecrementPostErrors();
        for (; mPosts < 0; ++mPosts)
            U_IncrementPostErrors();
        for (const auto& [callback, refcon] : mCallbacks)
        {
            if (callback)
                Require(U_RemoveLoggingCallback(callback, &mScripts[refcon]) == 0);
        }
        sModel = nullptr; // alerts do nothing from here on
        U_DisplayPostedErrors();
        sEvents.clear();
        U_DisplayPostedErrors();
        Require(sEvents.empty());
        U_ClearLastReportedError();
        const auto reset = [](Reporter& reporter) {
            while (!reporter.mQuiet.empty())
            {
                U_EndQuietErrorsOnCurrentThread();
                reporter.mQuiet.pop_back();
            }
            U_ReportError(0, U_Sev_MESSAGE, U_UTF16String());
        };
        reset(mOwn);
        if (mUsesOther)
            Second().RunBoth([] {}, [&] { reset(mOther); });
        Require(sEvents.empty());
        Up_SetInteract(kStartMask);
    }

    void Check()
    {
        if (sEvents != mEvents)
        {
            for (const std::string& event : mEvents)
                std::fprintf(stderr, "expected: %s\n", event.c_str());
            for (const std::string& event : sEvents)
                std::fprintf(stderr, "happened: %s\n", event.c_str());
        }
        Require(sEvents == mEvents);
        sEvents.clear();
        mEvents.clear();
        U_u32 count = 0;
        Require(U_GetHowManyErrors(&count) == 0 && count == mCount);
        Require(Up_GetInteract() == Mask());
        CheckLast(mOwn);
    }

    void Report(Choices& choices)
    {
        const U_u32 location = choices.Of(kLocations);
        const U_u16 severity = choices.Of(kSeverities);
        const std::string text = choices.Of(kTexts);
        const std::size_t kind = choices.Below(7);
        OnAThread(choices, [&](Reporter& thread) {
            const bool isGrouped = kind == 6 || (kind != 5 && text.find(kTag) != std::string::npos);
            switch (kind)
            {
            case 0:
                thread.mText = text;
                thread.mError = 0;
                return Require(Predict(thread, location, severity, text, isGrouped) ==
                               Up_ReportErrString(location, severity, text.c_str()));
            case 1:
                thread.mText = text + (text.empty() ? "" : " -- ") + "a bad parameter was passed.";
                Predict(thread, location, severity, thread.mText, isGrouped);
                thread.mError = 3;
                return Require(Up_ReportNuloErrString(location, severity, 3, text.c_str()) == 3);
            case 2:
                thread.mError = 0;
                return Require(Up_ReportNuloErrString(location, severity, 0, text.c_str()) == 0);
            case 3:
                PredictPost(thread, location, severity, text);
                return U_AsyncReport(location, severity, Wide(text));
            case 4:
                thread.mText = text;
                return Require(Predict(thread, location, severity, text, isGrouped) ==
                               Thrown([&] { U_ReportError(location, severity, Wide(text)); }));
            default: // the flag decides, not the text
                return Require(Predict(thread, location, severity, text, isGrouped) == Thrown([&] {
                                   Up_Report16(location, severity, Wide(text), isGrouped);
                               }));
            }
        });
    }

    void Quiet(Choices& choices)
    {
        const bool starts = choices.Flag();
        const bool logs = choices.Flag();
        OnAThread(choices, [&](Reporter& thread) {
            if (starts)
            {
                thread.mQuiet.push_back(logs && (thread.mQuiet.empty() || thread.mQuiet.back()));
                return Require(U_StartQuietErrorsOnCurrentThread(logs) == 0);
            }
            const bool fails = thread.mQuiet.empty();
            if (fails)
                Refusal(thread, 0, "Unbalanced U_EndQuietErrorsOnCurrentThread() (2)");
            else
                thread.mQuiet.pop_back();
            Require(U_EndQuietErrorsOnCurrentThread() == (fails ? 3 : 0));
        });
    }

    void SetMask(Choices& choices)
    {
        const U_u32 mask = choices.Of(kMasks);
        const std::size_t number = choices.Byte();
        switch (choices.Below(4))
        {
        case 0:
            mMasks.assign(1, {0, mask});
            return Up_SetInteract(mask);
        case 1:
            if (mIds.empty())
                return;
            Complete(mIds[number % mIds.size()]);
            return Up_SetInteractTempComplete(mIds[number % mIds.size()]);
        default:
            mMasks.push_front({Up_SetInteractTemp(mask), mask});
            mIds.push_back(mMasks.front().first);
            Require(mMasks.front().first != 0);
        }
    }

    void AddCallback(Choices& choices)
    {
        const U_LoggingCallback callback = choices.Flag() ? &SecondCallback : &FirstCallback;
        const unsigned refcon = static_cast<unsigned>(choices.Below(kScripts));
        const bool fails = !HasFreeSlot();
        if (fails)
            Refusal(mOwn, 0x170015, "can not add any more logging_funcs");
        else
            Add(callback, refcon);
        mRealSlots += !fails;
        Require(U_AddLoggingCallback(callback, &mScripts[refcon]) == (fails ? 3 : 0));
    }

    void RemoveCallback(Choices& choices)
    {
        // An empty slot stands for a pair that may have no slot.
        auto [callback, refcon] = mCallbacks[choices.Below(kSlots)];
        if (!callback && choices.Below(8))
            return;
        callback = callback ? callback : &FirstCallback;
        const bool fails = !Remove(callback, refcon);
        mRealSlots -= !fails;
        if (fails)
            Refusal(mOwn, 0x170016, "can not find logging_func/refcon pair to remove");
        Require(U_RemoveLoggingCallback(callback, &mScripts[refcon]) == (fails ? 3 : 0));
    }

    void SetScript(Choices& choices)
    {
        Script& script = mScripts[choices.Below(kScripts)];
        script.mAction = static_cast<unsigned>(choices.Below(Script::kActions));
        script.mAnswer = static_cast<int>(choices.Below(3)) * 7;
        script.mRefcon = static_cast<unsigned>(choices.Below(kScripts));
        mDuringAlert = static_cast<unsigned>(choices.Below(3));
    }

    void HoldBack(Choices& choices)
    {
        const bool more = choices.Flag();
        mPosts += more ? 1 : -1;
        more ? U_IncrementPostErrors() : U_DecrementPostErrors();
    }

    void Display(Choices&)
    {
        PredictDisplay();
        U_DisplayPostedErrors();
    }

    void ClearLast(Choices&)
    {
        mLastShown = Message();
        U_ClearLastReportedError();
    }

    void Defer(Choices& choices)
    {
        const U_u32 mask = choices.Of(kMasks);
        U_DeferredState state;
        const U_u32 inForce = Mask();
        Require(U_DeferredReportingStart(mask, &state) == 0);
        Require(state.mSavedInteract == inForce && state.mErrorCount == mCount);
        mMasks.push_front({state.mTempId, inForce & mask});
        mStretches.push_back({state, mOwn.mText});
    }

    void EndDeferred(Choices& choices)
    {
        const bool repeats = choices.Below(4) != 0;
        const bool isAsync = choices.Flag();
        const char* const fallback = choices.Flag() ? "fallback" : nullptr;
        if (mStretches.empty())
            return;
        U_DeferredState state = mStretches.back().first;
        const std::string saved = mStretches.back().second;
        mStretches.pop_back();
        if (!repeats)
        {
            mCount = state.mErrorCount;
            mOwn.mText = saved;
        }
        else if (mCount != state.mErrorCount)
            PredictRepeat(state, isAsync, fallback);
        Complete(state.mTempId);
        Require(U_DeferredReportingEndAsync(repeats, isAsync, fallback, &state) == 0);
    }

private:
    static const std::size_t kSlots = 10;
    static const std::size_t kScripts = 3;

    U_u32 Mask() const { return mMasks.front().second; }

    void Complete(U_u32 id)
    {
        const auto place = std::find_if(mMasks.begin(), mMasks.end(),
                                        [id](const auto& mask) { return id && mask.first == id; });
        if (place != mMasks.end())
            mMasks.erase(place);
    }

    bool HasFreeSlot() const
    {
        return std::any_of(mCallbacks, mCallbacks + kSlots,
                           [](const auto& slot) { return !slot.first; });
    }

    void Add(U_LoggingCallback callback, unsigned refcon)
    {
        *std::find_if(mCallbacks, mCallbacks + kSlots,
                      [](const auto& slot) { return !slot.first; }) = {callback, refcon};
    }

    bool Remove(U_LoggingCallback callback, unsigned refcon)
    {
        const auto place =
            std::find(mCallbacks, mCallbacks + kSlots, std::make_pair(callback, refcon));
        if (place == mCallbacks + kSlots)
            return false;
        *place = {};
        return true;
    }

    // Runs the body on one of the two threads, and waits for its end.
    template <typename Body> void OnAThread(Choices& choices, Body body)
    {
        if (choices.Below(6) != 5)
            return body(mOwn);
        mUsesOther = true;
        Second().RunBoth([] {},
                         [&] {
                             body(mOther);
                             CheckLast(mOther);
                         });
    }

    static void CheckLast(const Reporter& thread)
    {
        char text[U_ReportTextSize];
        U_u16 severity = 0;
        U_u32 location = 0;
        U_u32 error = 0;
        Require(U_GetLastError(text, &severity, &location, &error) == 0);
        Require(text == thread.mText && severity == thread.mSeverity);
        Require(location == thread.mLocation && error == thread.mError);
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
            // The process is dying from the beginning, so no leak is shown.
            if ((Mask() & severity) && severity != U_Sev_LEAK)
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
                CallEvent(callback == &FirstCallback ? "first " : "second ", refcon, message));
            code = script.mAnswer;
            if (script.mAction == Script::kRemovesItself)
                Remove(callback, refcon);
            if (script.mAction == Script::kAdds && HasFreeSlot())
                Add(&SecondCallback, script.mRefcon);
            if (script.mAction == Script::kPosts)
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
        if (std::exchange(mPredictsAlert, true))
            return;
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

    // The receivers.
    static U_Status Answer(const char* name, void* refcon, U_u32 location, U_u16 severity,
                           const char* text)
    {
        const Script& script = *static_cast<Script*>(refcon);
        const unsigned number = static_cast<unsigned>(&script - sModel->mScripts);
        sEvents.push_back(CallEvent(name, number, {location, severity, text}));
        if (script.mAction == Script::kRemovesItself)
        {
            Require(U_RemoveLoggingCallback(*name == 'f' ? &FirstCallback : &SecondCallback,
                                            refcon) == 0);
            --sModel->mRealSlots;
        }
        if (script.mAction == Script::kAdds && sModel->mRealSlots < kSlots)
        {
            ++sModel->mRealSlots;
            Require(U_AddLoggingCallback(&SecondCallback, &sModel->mScripts[script.mRefcon]) == 0);
        }
        if (script.mAction == Script::kReports)
            Up_Report16(1, U_Sev_WARNING, Wide("ignored"), false);
        if (script.mAction == Script::kPosts)
            U_AsyncReport(1, U_Sev_WARNING, Wide("posted by a callback"));
        if (script.mAction == Script::kThrows && script.mAnswer)
            throw script.mAnswer;
        return script.mAnswer;
    }

    static U_Status FirstCallback(void* refcon, U_u32 location, U_u16 severity, const char* text)
    {
        return Answer("first ", refcon, location, severity, text);
    }

    static U_Status SecondCallback(void* refcon, U_u32 location, U_u16 severity, const char* text)
    {
        return Answer("second ", refcon, location, severity, text);
    }

public:
    // The alert presenter.
    static void Present(const platform::Alert& alert)
    {
        sEvents.push_back(AlertEvent(alert.flags, Narrow(alert.text)));
        if (!sModel || std::exchange(sModel->mPresents, true))
            return;
        if (sModel->mDuringAlert == 1)
            U_AsyncReport(0, U_Sev_INFO, Wide("during an alert"));
        if (sModel->mDuringAlert == 2)
            Thrown([] { Up_Report16(0, U_Sev_INFO, Wide("within an alert"), false); });
        sModel->mPresents = false;
    }

private:
    static Model* sModel;

    Events mEvents; // predicted since the last check
    Reporter mOwn;
    Reporter mOther;
    bool mUsesOther = false;
    U_u32 mCount = 0;
    std::list<std::pair<U_u32, U_u32>> mMasks; // the ids and the masks, 0 for the base mask
    std::vector<U_u32> mIds;                   // of temporary masks, also of removed ones
    std::pair<U_LoggingCallback, unsigned> mCallbacks[kSlots] = {}; // with the number of a script
    std::size_t mRealSlots = 0; // while a prediction has already changed mCallbacks
    Script mScripts[kScripts];
    unsigned mDuringAlert = 0; // 0 nothing, 1 posts, 2 reports
    bool mPredictsAlert = false;
    bool mPresents = false;
    int mPosts = 0;
    Message mLastShown;
    std::vector<Message> mPosted;
    std::vector<std::pair<U_DeferredState, std::string>> mStretches; // with the text at the start
};

Model* Model::sModel = nullptr;

constexpr void (Model::*kCalls[])(Choices&) = {
    &Model::Report,      &Model::Report,         &Model::Report,    &Model::Report,
    &Model::Report,      &Model::Quiet,          &Model::SetMask,   &Model::AddCallback,
    &Model::AddCallback, &Model::RemoveCallback, &Model::SetScript, &Model::HoldBack,
    &Model::Display,     &Model::ClearLast,      &Model::Defer,     &Model::EndDeferred};

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

void RunTwoThreads(Choices& choices)
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
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    BeBorn();
    platform::SetLogSink([](int, const char* category, const char* tag, const char* text) {
        if (category && !std::strcmp(category, "U") && !std::strncmp(tag, "U_Sev_", 6))
            sEvents.push_back("log " + std::string(tag + 6) + " " + text);
    });
    platform::SetAlertPresenter(&Model::Present);
    platform::SetActiveCodePage(65001);
    // A fatal report makes the process die, for good. Each input finds a dying process.
    U_ReportError(0, U_Sev_FATAL, U_UTF16String());
    U_ReportError(0, U_Sev_MESSAGE, U_UTF16String());
    Up_SetInteract(kStartMask);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices(data, size);
    if (choices.Below(8) == 7)
    {
        RunTwoThreads(choices);
        return 0;
    }
    Model model;
    RunCalls(choices, model, kCalls);
    return 0;
}
