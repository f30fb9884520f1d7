#include "indep/errors/ReportPipeline.h"

#include <cstdint>
#include <cstring>
#include <string>

#include <krobase/stack_trace.h>
#include <platform/base/rethrow.h>
#include <wril/wril.h>

#include "U_Encoding.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "indep/errors/Globals.h"
#include "indep/errors/UserMessages.h"
#include "indep/frame/Guard.h"

namespace
{
bool IsLoggingOn(U_u16 severity)
{
    return Up_GetInteract() >> 16 & severity;
}

const std::size_t kMostFrames = 50;
const std::size_t kOwnFrames = 1;

std::string LineOf(void* frame)
{
    using namespace krobase::debug;
    char text[512];
    std::string line;
    if (StackFrameFunctionName(frame, text, sizeof(text)))
        line = text;
    else
        line = "??? <" + std::to_string(reinterpret_cast<std::intptr_t>(frame)) + ">";
    if (const int number = StackFrameLineNumber(frame))
        line += "  (Line: " + std::to_string(number);
    if (StackFrameFullFilePath(frame, text, sizeof(text)))
        line.append("  File: ").append(text).append(")");
    return line + "\n";
}

void LogStackTrace()
{
    LogSafely([] {
        void* frames[kMostFrames];
        const std::size_t count =
            krobase::debug::GenerateStackTrace(frames, kMostFrames, kOwnFrames);
        std::string lines;
        for (std::size_t i = 0; i < count; ++i)
            lines += LineOf(frames[i]);
        WRIL_Log(0, "ReportError", "StackCrawl", lines.c_str());
    });
}
} // namespace

bool IsDisplayOn(U_u16 severity)
{
    return Up_GetInteract() & severity;
}

Report::Report(U_u32 location, U_u16 severity, const U_UTF16String& text)
    : mLocation(location), mSeverity(severity), mBareText(text), mText(severity, text)
{
}

// Without memory for a copy of the text, the message is lost.
U_Status Report::Post()
{
    return Guarded([&] {
        if (const U_Status failure = Up_PostError(mLocation, mSeverity, mText.Take()))
            throw failure;
    });
}

void Report::Log()
{
    const SeverityTraits& traits = TraitsOf(mSeverity);
    if (!traits.mLogTag || !(IsDisplayOn(mSeverity) || IsLoggingOn(mSeverity)))
        return;
    Guarded([&] {
        U_UTF8String line = U_UTF16To8String(mText.Get());
        line.resize(std::strlen(reinterpret_cast<const char*>(line.c_str())));
        const LocationText location(mLocation);
        line.push_back('\t');
        line.append(location.mText, location.mText + std::strlen(location.mText));
        WRIL_Log(0, "U", traits.mLogTag, reinterpret_cast<const char*>(line.c_str()));
        if (traits.mLogsStack)
            LogStackTrace();
    });
}

void Report::CallBack()
{
    if (!IsLoggingOn(mSeverity) || !Up_HasLoggingCallbacks())
        return;
    char text[U_ReportTextSize];
    *text = 0;
    Guarded([&] { CopyReportText(mText.Get(), text); });
    if (const U_Status code = Up_CallLoggingCallbacks(mLocation, text, mSeverity))
        throw code;
}

// The text is searched for the tag last.
bool Report::MayShowNow(Grouping grouping) const
{
    const bool heldBack = Globals() && static_cast<U_i32>(Globals()->mPostErrors) > 0;
    if (heldBack || grouping == Grouping::yes || !U_IsOnUIThread())
        return false;
    return grouping == Grouping::no || !Up_HasGroupTag(mBareText);
}

void Report::Display(Grouping grouping)
{
    Up_SetThreadLastReport(mSeverity, mLocation);
    if (mSeverity != U_Sev_DETAIL && Globals())
        ++Globals()->mErrorCount;
    if (!IsDisplayOn(mSeverity))
        return;
    if (mSeverity == U_Sev_LEAK && U_Die())
        return;
    if (!MayShowNow(grouping))
    {
        Post();
        return;
    }
    try
    {
        ShowNow();
    }
    catch (...)
    {
        Post();
        platform::Rethrow();
    }
}

// Shows the posted messages first. A message that cannot be shown is posted.
void Report::ShowNow()
{
    const U_Status failure = Guarded([&] {
        U_DisplayPostedErrors();
        Up_ShowMessage(mLocation, mSeverity, mText.Get(), 0);
    });
    if (failure)
        Post();
}
