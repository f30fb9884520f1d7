// Stretches whose errors are reported at their end, or forgotten.

#include "U_Posted.h"

#include "U_Alloc.h"
#include "U_Encoding.h"
#include "U_Interact.h"
#include "U_Report.h"
#include "U_String.h"
#include "indep/errors/LoggingCallbacks.h"
#include "indep/errors/Refuse.h"
#include "indep/errors/Repeat.h"
#include "indep/errors/ThreadState.h"
#include "indep/frame/Guard.h"

#include <cstring>

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
// what the stretch kept from the callbacks. Without memory the mask of the stretch
// stays in force.
class ScRepeatMask
{
public:
    ScRepeatMask(U_u32 maskBefore, U_u32 maskOfStretch)
    {
        Guarded([&] {
            mId = Up_SetInteractTemp((maskBefore & kDisplayBits) |
                                     (maskBefore & kLogBits & ~maskOfStretch));
        });
    }

    ~ScRepeatMask() { Up_SetInteractTempComplete(mId); }
    ScRepeatMask(const ScRepeatMask&) = delete;
    ScRepeatMask& operator=(const ScRepeatMask&) = delete;

private:
    U_u32 mId = 0;
};

void RepeatLatest(bool async, const char* fallbackText, const U_DeferredState& state)
{
    const U_u32 maskOfStretch = Up_GetInteract();
    const ScRepeatMask mask(state.mSavedInteract, maskOfStretch);
    char text[U_ReportTextSize];
    U_u16 severity = 0;
    U_u32 location = 0;
    U_GetLastError(text, &severity, &location, nullptr);
    if (!severity)
    {
        // The errors were other threads': what text there is isn't theirs.
        severity = U_Sev_FATAL;
        *text = 0;
    }
    if (!*text)
        U_CopyString(fallbackText ? fallbackText : kNoText, sizeof(text), text);
    if (async)
    {
        U_AsyncReport(location, severity, U_MBToUTF16String(text));
        return;
    }
    Up_SetThreadLastError(0);
    U_CopyString(text, sizeof(text), Up_GetThreadLoggingBuffer());
    Up_RepeatReport(location, severity, (maskOfStretch | maskOfStretch >> 16) & severity);
}
} // namespace

U_Status U_DeferredReportingStart(U_u32 mask, U_DeferredState* state)
{
    if (!state)
        return RefuseArgument(kNoState);
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
        return RefuseArgument(kNoState);
    const U_Status result = Guarded([&] {
        U_u32 count = state->mErrorCount;
        if (!report)
            Forget(*state);
        else if (state->mTempId && U_GetHowManyErrors(&count) == 0 && count != state->mErrorCount)
            RepeatLatest(async, fallbackText, *state);
    });
    Up_SetInteractTempComplete(state->mTempId);
    U_FreePtr(state->mSavedMessage);
    state->mSavedMessage = nullptr;
    return result;
}
