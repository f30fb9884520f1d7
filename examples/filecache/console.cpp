#include "console.h"

#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

#include <platform/base/printable.h>

#include "message.h"

namespace
{
size_t TerminalWidth()
{
    winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return 80;
    return size.ws_col;
}
} // namespace

Console::Console(bool verbose) : mVerbose(verbose), mTerminal(isatty(STDERR_FILENO) != 0) {}

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
