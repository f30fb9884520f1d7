// Stretches whose errors are reported at their end, or forgotten.

#include "U_Posted.h"

#include "U_Alloc.h"
#include "U_Assert.h"
#include "U_Encoding.h"
#include "U_Interact.h"
#include "U_Report.h"
#include "U_String.h"
#include "indep/errors/LoggingCallbacks.h"
#include "indep/errors/ThreadState.h"
#include "indep/frame/Guard.h"

#include <cstring>

namespace
{
const U_u32 kDisplayBits = 0x0000FFFF;
const U_u32 kLogBits = 0xFFFF0000;
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

// For the repeat of a report: shows as before the stretch, and logs only what
// the stretch kept from the log.
class ScRepeatMask
{
public:
    explicit ScRepeatMask(U_u32 maskBefore)
        : mId(Up_SetInteractTemp((maskBefore & kDisplayBits) |
                                 (maskBefore & kLogBits & ~Up_GetInteract())))
    {
    }

    ~ScRepeatMask() { Up_SetInteractTempComplete(mId); }
    ScRepeatMask(const ScRepeatMask&) = delete;
    ScRepeatMask& operator=(const ScRepeatMask&) = delete;

private:
    const U_u32 mId;
};

void RepeatLatest(bool async, const char* fallbackText, const U_DeferredState& state)
{
    const ScRepeatMask mask(state.mSavedInteract);
    char text[U_ReportTextSize];
    U_u16 severity = 0;
    U_u32 location = 0;
    U_GetLastError(text, &severity, &location, nullptr);
    if (!severity)
        severity = U_Sev_FATAL; // the errors were other threads'
    if (!*text)
        U_CopyString(fallbackText ? fallbackText : kNoText, sizeof(text), text);
    if (async)
        U_AsyncReport(location, severity, U_MBToUTF16String(text));
    else
        Up_ReportErrString(location, severity, text);
}

U_Status RefuseNull(const void* argument)
{
    if (argument)
        return 0;
    U_ReportFailedVerification(0, 0, nullptr, "deferred state can not be NULL");
    return U_Err_BadParameter;
}
} // namespace

U_Status U_DeferredReportingStart(U_u32 mask, U_DeferredState* state)
{
    if (U_Status failure = RefuseNull(state))
        return failure;
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
    if (U_Status failure = RefuseNull(state))
        return failure;
    const U_Status result = Guarded([&] {
        U_u32 count = state->mErrorCount;
        if (!report)
            Forget(*state);
        else if (U_GetHowManyErrors(&count) == 0 && count != state->mErrorCount)
            RepeatLatest(async, fallbackText, *state);
    });
    Up_SetInteractTempComplete(state->mTempId);
    U_FreePtr(state->mSavedMessage);
    state->mSavedMessage = nullptr;
    return result;
}
