// The dictionary tool of translators and builds.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include <hollin/ConversionHooks.h>
#include <program/program.h>

#include "command_line.h"

namespace
{
// Runs the command. Reports an exception, and returns its status.
Status RunGuarded(const std::vector<std::string>& arguments)
{
    try
    {
        return RunCommandLine(arguments);
    }
    catch (const Failure& failure)
    {
        Report(failure);
        return failure.mStatus;
    }
    catch (const hollin::VoErrException&)
    {
        Report(std::string(), "a text can't be converted");
        return kFaulty;
    }
    catch (const std::bad_alloc&)
    {
        Report(std::string(), "there isn't enough memory");
        return kUnusable;
    }
}
} // namespace

int main(int count, char** arguments)
{
    const ProgramStart start(count, arguments);
    const Status status = RunGuarded(start.Arguments());
    if (std::fflush(stdout) != 0 || std::ferror(stdout))
        Report("standard output", std::string("can't be written: ") + std::strerror(errno));
    else if (!std::ferror(stderr)) // otherwise a message is lost
        return status;
    return kUnusable;
}
