// Reports: which texts do the log, the callbacks and the user receive, in which order, and which
// messages are posted?
//
// The model writes the lines of the log, the calls of callbacks and the alerts that a call is to
// cause into a list of texts. The log sink, the callbacks and the alert presenter write those that
// happen into a second list. The two lists are compared after each call.

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <krobase/stack_trace.h>
#include <platform/control.h>

#include "U_Encoding.h"
#include "U_Interact.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "code_thrown.h"
#include "library.h"
#include "model.h"
#include "report_events.h"
#include "report_model.h"

// Replaces the function of the platform library: names of frames take most of the time of a
// report.
std::size_t krobase::debug::GenerateStackTrace(void**, std::size_t, std::size_t)
{
    return 0;
}

namespace
{
const U_u16 kSeverities[] = {1, 2, 4, 32, 64, 128, 5, 2, 4, 1, 32, 8, 4, 2, 1, 16};
const U_u32 kLocations[] = {0, 0x10002, 0x120034};

std::string Long(const char* character)
{
    std::string text = "x";
    while (text.size() < 520)
        text += character;
    return text;
}
const std::string kShort[] = {"",
                              "a",
                              "b",
                              "Grouped_Message_{Many|||One###@0 files:}c",
                              "Grouped_Message_{Many|||One###@0 files:}d",
                              "Grouped_Message_{Both}e",
                              "Grouped_Message_{M|||O###L}",
                              "caf\xC3\xA9"};
const std::string kLong[] = {Long("x"), Long("\xC3\xA9"), Long("\xE3\x81\x82"),
                             Long("\xF0\x9F\x98\x80")};
const U_u32 kMasks[] = {kStartMask, 0xFFFFFFFF, 0, 0x0000FFFF, 0xFFFF0000, 0xFFFB0006, 0x0024FFFF};

class Model : ReportModel
{
public:
    Model() : ReportModel(&Callback<true>, &Callback<false>)
    {
        sModel = this;
        U_GetHowManyErrors(&mCount);
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
            Second().RunBoth({}, [&] { CheckLast(mOther), reset(mOther); });
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
        Require(Up_GetInteract() == Mask() && U_Die() == mIsDying);
        CheckLast(mOwn);
    }

    void Report(Choices& choices)
    {
        const U_u32 location = choices.Of(kLocations);
        const U_u16 severity = choices.Of(kSeverities);
        const std::size_t number = choices.Below(8 * std::size(kShort)); // long ones take long
        const std::string& full = number >= 8 * std::size(kShort) - std::size(kLong)
                                      ? kLong[number % std::size(kLong)]
                                      : kShort[number % std::size(kShort)];
        const U_UTF16String units = U_UTF8To16String(U_UTF8String(full.begin(), full.end()));
        const std::size_t kind = choices.Below(7);
        OnAThread(choices, [&](Reporter& thread) {
            const bool isGrouped = kind == 6 || (kind != 5 && full.find(kTag) != std::string::npos);
            const std::string text = Cut(full);
            switch (kind)
            {
            case 0:
                thread.mText = text;
                thread.mError = 0;
                return Require(Predict(thread, location, severity, text, isGrouped) ==
                               Up_ReportErrString(location, severity, full.c_str()));
            case 1:
                thread.mText =
                    Cut(text + (text.empty() ? "" : " -- ") + "a bad parameter was passed.");
                Predict(thread, location, severity, thread.mText, isGrouped);
                thread.mError = 3;
                return Require(Up_ReportNuloErrString(location, severity, 3, full.c_str()) == 3);
            case 2:
                thread.mError = 0;
                return Require(Up_ReportNuloErrString(location, severity, 0, full.c_str()) == 0);
            case 3:
                PredictPost(thread, location, severity, full);
                return U_AsyncReport(location, severity, units);
            case 4:
                thread.mText = text;
                return Require(Predict(thread, location, severity, full, isGrouped) ==
                               CodeThrown([&] { U_ReportError(location, severity, units); }));
            default: // the flag decides, not the text
                return Require(
                    Predict(thread, location, severity, full, isGrouped) ==
                    CodeThrown([&] { Up_Report16(location, severity, units, isGrouped); }));
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
        const U_LoggingCallback callback = choices.Flag() ? &Callback<false> : &Callback<true>;
        const unsigned refcon = static_cast<unsigned>(choices.Below(kScripts));
        const bool fails = !Replace({}, {callback, refcon});
        if (fails)
            Refusal(mOwn, 0x170015, "can not add any more logging_funcs");
        mRealSlots += !fails;
        Require(U_AddLoggingCallback(callback, &mScripts[refcon]) == (fails ? 3 : 0));
    }

    void RemoveCallback(Choices& choices)
    {
        // An empty slot stands for a pair that may have no slot.
        auto [callback, refcon] = mCallbacks[choices.Below(kSlots)];
        if (!callback && choices.Below(8))
            return;
        callback = callback ? callback : &Callback<true>;
        const bool fails = !Replace({callback, refcon}, {});
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
    // Runs the body on one of the two threads, and waits for its end.
    template <typename Body> void OnAThread(Choices& choices, Body body)
    {
        if (choices.Below(16) != 15) // a change of threads takes long
            return body(mOwn);
        mUsesOther = true;
        Second().RunBoth({}, [&] { body(mOther), CheckLast(mOther); });
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

    // The receivers.
    template <bool kIsFirst>
    static U_Status Callback(void* refcon, U_u32 location, U_u16 severity, const char* text)
    {
        const Script& script = *static_cast<Script*>(refcon);
        const unsigned number = static_cast<unsigned>(&script - sModel->mScripts);
        sEvents.push_back(
            CallEvent(kIsFirst ? "first " : "second ", number, {location, severity, text}));
        if (script.mAction == Script::kRemovesItself)
        {
            Require(U_RemoveLoggingCallback(&Callback<kIsFirst>, refcon) == 0);
            --sModel->mRealSlots;
        }
        if (script.mAction == Script::kAdds && sModel->mRealSlots < kSlots)
        {
            ++sModel->mRealSlots;
            Require(U_AddLoggingCallback(&Callback<false>, &sModel->mScripts[script.mRefcon]) == 0);
        }
        if (script.mAction == Script::kReports)
            Up_Report16(1, U_Sev_WARNING, Wide("ignored"), false);
        if (script.mAction == Script::kPosts && sModel->mRealReactions++ < kReactions)
            U_AsyncReport(1, U_Sev_WARNING, Wide("posted by a callback"));
        if (script.mAction == Script::kThrows && script.mAnswer)
            throw script.mAnswer;
        return script.mAnswer;
    }

public:
    // The alert presenter.
    static void Present(const platform::Alert& alert)
    {
        sEvents.push_back(AlertEvent(alert.flags, BytesOf(alert.text)));
        if (!sModel || sModel->mPresents || !sModel->mDuringAlert ||
            sModel->mRealReactions++ >= kReactions)
            return;
        sModel->mPresents = true;
        if (sModel->mDuringAlert == 1)
            U_AsyncReport(0, U_Sev_INFO, Wide("during an alert"));
        if (sModel->mDuringAlert == 2)
            CodeThrown([] { Up_Report16(0, U_Sev_INFO, Wide("within an alert"), false); });
        sModel->mPresents = false;
    }

private:
    static Model* sModel;

    Reporter mOther;
    bool mUsesOther = false;
    std::vector<U_u32> mIds;    // of temporary masks, also of removed ones
    std::size_t mRealSlots = 0; // while a prediction has already changed mCallbacks
    unsigned mRealReactions = 0;
    bool mPresents = false;
    std::vector<std::pair<U_DeferredState, std::string>> mStretches; // with the text at the start
};

Model* Model::sModel = nullptr;

constexpr void (Model::*kCalls[])(Choices&) = {
    &Model::Report,      &Model::Report,         &Model::Report,    &Model::Report,
    &Model::Report,      &Model::Quiet,          &Model::SetMask,   &Model::AddCallback,
    &Model::AddCallback, &Model::RemoveCallback, &Model::SetScript, &Model::HoldBack,
    &Model::Display,     &Model::ClearLast,      &Model::Defer,     &Model::EndDeferred};

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
    // Each thread of an input finds a first report.
    const auto report = [] { U_ReportError(0, U_Sev_MESSAGE, U_UTF16String()); };
    Second().RunBoth(report, report);
    Up_SetInteract(kStartMask);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices(data, size);
    if (choices.Below(32) == 31)
    {
        RunTwoThreads(choices);
        return 0;
    }
    if (U_Die())
    {
        // An input has reported a fatal error. Only a new life ends the dying.
        Require(U_Death() == 0 && U_Birth("fuzz", nullptr) == 0);
        Up_SetInteract(kStartMask);
    }
    Model model;
    RunCalls(choices, model, kCalls);
    return 0;
}
