#include "indep/errors/StackCrawl.h"

#include <cstdint>
#include <string>

#include <krobase/stack_trace.h>
#include <wril/wril.h>

#include "indep/frame/Guard.h"

namespace
{
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
} // namespace

void LogStackCrawl()
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
