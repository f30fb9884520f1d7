#include "program.h"

#include <csignal>

#include <sys/ioctl.h>
#include <unistd.h>

ProgramStart::ProgramStart(int count, char** arguments) : mArguments(arguments, arguments + count)
{
    // The write beyond the limit of a file's size fails then, so that the program can report the
    // failure and remove the file.
    std::signal(SIGXFSZ, SIG_IGN);
}

ProgramStart::~ProgramStart() = default;

bool IsTerminal(int descriptor)
{
    return isatty(descriptor) != 0;
}

bool HasEscapes()
{
    return IsTerminal(STDERR_FILENO);
}

std::size_t TerminalWidth()
{
    winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return 80;
    return size.ws_col;
}
