// Deferred reports: stretches whose errors are reported at the end, or forgotten.

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

// Returns a copy that the caller frees; null without memory or without a buffer.
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

// The mask for the repeat of a report: shows as the mask before the stretch does, and calls the
// callbacks only for severities that the stretch kept from them.
class ScRepeatMask
{
public:
    ScRepeatMask(const U_DeferredState& state, U_u32 maskOfStretch)
    {
        const U_Status failure = Guarded([&] {
            mId = Up_SetInteractTemp((state.mSavedInteract & kDisplayBits) |
                                     (state.mSavedInteract & kLogBits & ~maskOfStretch));
        });
        // Without memory the stretch ends here, since its mask would hide the repeat.
        if (failure)
            Up_SetInteractTempComplete(state.mTempId);
    }

    ~ScRepeatMask() { Up_SetInteractTempComplete(mId); }
    ScRepeatMask(const ScRepeatMask&) = delete;
    ScRepeatMask& operator=(const ScRepeatMask&) = delete;

private:
    U_u32 mId = 0;
};

// The report that the end of a stretch repeats.
struct Latest
{
    explicit Latest(const char* fallbackText)
    {
        U_GetLastError(mText, &mSeverity, &mLocation, nullptr);
        mIsOwn = mSeverity && *mText;
        if (!mSeverity)
            mSeverity =
                U_Sev_FATAL; // the errors were other threads', whose texts are not known here
        if (!mIsOwn)
            U_CopyString(fallbackText ? fallbackText : kNoText, sizeof(mText), mText);
    }

    char mText[U_ReportTextSize];
    U_u16 mSeverity = 0;
    U_u32 mLocation = 0;
    bool mIsOwn; // the thread has reported this text
};

void RepeatLatest(bool async, const char* fallbackText, const U_DeferredState& state)
{
    const U_u32 maskOfStretch = Up_GetInteract();
    const Latest latest(fallbackText); // first: a failing allocation below may report
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

// Ends a stretch, also if an exception passes out of the repeat.
class ScStretchEnd
{
public:
    explicit ScStretchEnd(U_DeferredState& state) : mState(state) {}

    ~ScStretchEnd()
    {
        Up_SetInteractTempComplete(mState.mTempId);
        U_FreePtr(mState.mSavedMessage);
        mState.mSavedMessage = nullptr;
    }

    ScStretchEnd(const ScStretchEnd&) = delete;
    ScStretchEnd& operator=(const ScStretchEnd&) = delete;

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
    const ScStretchEnd end(*state);
    return Guarded([&] {
        U_u32 count = state->mErrorCount;
        if (!report)
            Forget(*state);
        else if (state->mTempId && U_GetHowManyErrors(&count) == 0 && count != state->mErrorCount)
            RepeatLatest(async, fallbackText, *state);
    });
}
