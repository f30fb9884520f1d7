#include "console.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace
{
const size_t kLongestLine = 8192; // a path at its longest, and the words round it

size_t TerminalWidth()
{
    winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return 80;
    return size.ws_col;
}

// A file's name may hold bytes that would steer the terminal.
void HideControlBytes(char* text)
{
    for (; *text; ++text)
    {
        unsigned char byte = static_cast<unsigned char>(*text);
        if (byte < ' ' || byte == 127)
            *text = '?';
    }
}
} // namespace

Console::Console(bool verbose) : mVerbose(verbose), mTerminal(isatty(STDERR_FILENO) != 0) {}

Console::~Console()
{
    EndProgress();
}

void Console::Tell(const char* format, ...)
{
    char line[kLongestLine];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    HideControlBytes(line);

    std::lock_guard<std::mutex> lock(mLock);
    EraseProgress();
    std::fprintf(stderr, "filecache: %s\n", line);
}

void Console::ShowProgress(const char* format, ...)
{
    if (!mTerminal)
        return;
    char line[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);

    // The last column stays free: some terminals wrap when it is written.
    line[std::min(sizeof line, TerminalWidth()) - 1] = '\0';
    std::lock_guard<std::mutex> lock(mLock);
    std::fprintf(stderr, "\r%s\033[K", line);
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
