// Stretches whose errors are reported at their end, or forgotten.

#include "U_Posted.h"

#include <cstring>

#include "U_Alloc.h"
#include "U_Encoding.h"
#include "U_Interact.h"
#include "U_Report.h"
#include "U_String.h"
#include "indep/errors/Globals.h"
#include "indep/errors/Report.h"
#include "indep/errors/ReportPipeline.h"
#include "indep/frame/Guard.h"

namespace
{
const U_u32 kDisplayBits = 0x0000FFFF;
const U_u32 kLogBits = 0xFFFF0000;
const char kNoState[] = "deferred state can not be NULL";
const char kNoText[] = "missing deferred error information.";

// Null without memory, or if the thread has no message.
char* CopyOfLoggingBuffer()
{
    const char* const text = Up_FindThreadLoggingBuffer();
    if (!text)
        return nullptr;
    const std::size_t size = std::strlen(text) + 1;
    char* const copy = static_cast<char*>(U_AllocatePtrQuiet(size));
    if (copy)
        U_CopyString(text, size, copy);
    return copy;
}

void Forget(const U_DeferredState& state)
{
    Up_SetHowManyErrors(state.mErrorCount);
    char* const buffer = Up_FindThreadLoggingBuffer();
    if (state.mSavedMessage && buffer)
        U_CopyString(state.mSavedMessage, U_ReportTextSize, buffer);
}

// For the repeat of a report: shows as before the stretch, and calls back only
// what the stretch kept from the callbacks.
class ScRepeatMask
{
public:
    ScRepeatMask(const U_DeferredState& state, U_u32 maskOfStretch)
    {
        const U_Status failure = Guarded([&] {
            mId = Up_SetInteractTemp((state.mSavedInteract & kDisplayBits) |
                                     (state.mSavedInteract & kLogBits & ~maskOfStretch));
        });
        // Without memory the stretch ends before the repeat, which its mask would hide.
        if (failure)
            Up_SetInteractTempComplete(state.mTempId);
    }

    ~ScRepeatMask() { Up_SetInteractTempComplete(mId); }
    ScRepeatMask(const ScRepeatMask&) = delete;
    ScRepeatMask& operator=(const ScRepeatMask&) = delete;

private:
    U_u32 mId = 0;
};

// What a stretch reports at its end.
struct Latest
{
    explicit Latest(const char* fallbackText)
    {
        U_GetLastError(mText, &mSeverity, &mLocation, nullptr);
        mIsOwn = mSeverity && *mText;
        if (!mSeverity)
            mSeverity = U_Sev_FATAL; // what text there is isn't that of the others' errors
        if (!mIsOwn)
            U_CopyString(fallbackText ? fallbackText : kNoText, sizeof(mText), mText);
    }

    char mText[U_ReportTextSize];
    U_u16 mSeverity = 0;
    U_u32 mLocation = 0;
    bool mIsOwn; // the thread has reported it
};

void RepeatLatest(bool async, const char* fallbackText, const U_DeferredState& state)
{
    const U_u32 maskOfStretch = Up_GetInteract();
    const Latest latest(fallbackText); // before memory runs out, which is a report, too
    const ScRepeatMask mask(state, maskOfStretch);
    if (async)
    {
        U_AsyncReport(latest.mLocation, latest.mSeverity, U_MBToUTF16String(latest.mText));
        return;
    }
    const bool isLogged =
        latest.mIsOwn && ((maskOfStretch | maskOfStretch >> 16) & latest.mSeverity);
    Up_RepeatReport(latest.mLocation, latest.mSeverity, latest.mText, isLogged);
}

// The last steps of a stretch, whatever passes out of the repeat.
class ScLastSteps
{
public:
    explicit ScLastSteps(U_DeferredState& state) : mState(state) {}

    ~ScLastSteps()
    {
        Up_SetInteractTempComplete(mState.mTempId);
        U_FreePtr(mState.mSavedMessage);
        mState.mSavedMessage = nullptr;
    }

    ScLastSteps(const ScLastSteps&) = delete;
    ScLastSteps& operator=(const ScLastSteps&) = delete;

private:
    U_DeferredState& mState;
};
} // namespace

U_Status U_DeferredReportingStart(U_u32 mask, U_DeferredState* state)
{
    if (!state)
        return BadArgument(kNoState);
    *state = U_DeferredState();
    const U_Status failure = U_GetHowManyErrors(&state->mErrorCount);
    const U_Status unmasked = Guarded([&] {
        if (failure)
            return;
        state->mSavedInteract = Up_GetInteract();
        state->mTempId = Up_SetInteractTemp(state->mSavedInteract & mask);
    });
    state->mSavedMessage = CopyOfLoggingBuffer();
    return failure ? failure : unmasked;
}

U_Status U_DeferredReportingEnd(bool report, const char* fallbackText, U_DeferredState* state)
{
    return U_DeferredReportingEndAsync(report, false, fallbackText, state);
}

U_Status U_DeferredReportingEndAsync(bool report, bool async, const char* fallbackText,
                                     U_DeferredState* state)
{
    if (!state)
        return BadArgument(kNoState);
    const ScLastSteps lastSteps(*state);
    return Guarded([&] {
        U_u32 count = state->mErrorCount;
        if (!report)
            Forget(*state);
        else if (state->mTempId && U_GetHowManyErrors(&count) == 0 && count != state->mErrorCount)
            RepeatLatest(async, fallbackText, *state);
    });
}
