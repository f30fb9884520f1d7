#include "console.h"

#include <cstdio>

#include <platform/base/printable.h>
#include <program/program.h>

#include "message.h"

Console::Console(bool verbose) : mVerbose(verbose), mTerminal(HasEscapes()) {}

Console::~Console()
{
    EndProgress();
}

void Console::Print(const std::string& text)
{
    const std::string line = platform::Printable(text);
    std::lock_guard<std::mutex> lock(mLock);
    EraseProgress();
    std::fprintf(stderr, "filecache: %s\n", line.c_str());
}

void Console::ShowProgress(const std::string& text)
{
    if (!mTerminal)
        return;
    // The last column stays free: some terminals wrap when it is written.
    const std::string line = CutToWidth(platform::Printable(text), TerminalWidth() - 1);
    std::lock_guard<std::mutex> lock(mLock);
    std::fprintf(stderr, "\r%s\033[K", line.c_str());
    std::fflush(stderr);
    mProgressShown = true;
}

void Console::EndProgress()
{
    std::lock_guard<std::mutex> lock(mLock);
    EraseProgress();
}

void Console::EraseProgress()
{
    if (!mProgressShown)
        return;
    std::fputs("\r\033[K", stderr);
    mProgressShown = false;
}
