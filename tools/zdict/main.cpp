// The dictionary tool of translators and builds.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include <hollin/VoErrException.h>

#include "commands.h"

namespace
{
const Command* const kCommands[] = {&kCompileCommand, &kDumpCommand,  &kGetCommand,
                                    &kCheckCommand,   &kMergeCommand, &kStatsCommand};

const char kStatusHelp[] =
    "Status: 0 fine, 1 damaged content or something not found, 2 wrong usage or a\n"
    "file that can't be read or written.\n";

std::string Help()
{
    std::string help = "Usage: zdict COMMAND [options] FILE...\n"
                       "\n"
                       "Makes dictionary images of translators' texts, and looks into them.\n"
                       "\n";
    for (const Command* command : kCommands)
    {
        std::string name = command->mName;
        name.resize(10, ' ');
        help += "  " + name + command->mSummary + "\n";
    }
    return help +
           "\n'-' as a file is standard input or output. 'zdict COMMAND --help' tells of one\n"
           "command; the manual page zdict(1) tells all.\n\n" +
           kStatusHelp;
}

std::string HelpOf(const Command& command)
{
    return std::string("Usage: zdict ") + command.mName + " [options] " + command.mOperands +
           "\n\n" + command.mHelp + "\n" + OptionsHelp(command.mOptions) + "\n" + kStatusHelp;
}

const Command* FindCommand(const char* name)
{
    for (const Command* command : kCommands)
    {
        if (std::strcmp(command->mName, name) == 0)
            return command;
    }
    return nullptr;
}

Failure WrongUsage(const std::string& what, const char* command)
{
    const std::string more = command ? std::string(command) + " --help" : "--help";
    return {kUnusable, std::string(), what + " (see zdict " + more + ")"};
}

Status RunCommand(const Command& command, const char* const* arguments)
{
    Options options;
    const std::string wrong = ParseOptions(arguments, command.mOptions, &options);
    if (!wrong.empty())
        throw WrongUsage(wrong, command.mName);
    if (options.mHelp)
    {
        std::fputs(HelpOf(command).c_str(), stdout);
        return kFine;
    }
    if (options.mOperands.size() < command.mFewest)
        throw WrongUsage(std::string(command.mName) + " needs " + command.mOperands, command.mName);
    if (options.mOperands.size() > command.mMost)
        throw WrongUsage(std::string(command.mName) + " takes " + command.mOperands +
                             " only, not '" + options.mOperands[command.mMost] + "' too",
                         command.mName);
    return command.mRun(options);
}

Status Run(const char* const* arguments)
{
    const char* const name = arguments[0];
    if (!name)
        throw WrongUsage("a command is missing", nullptr);
    if (std::strcmp(name, "--help") == 0)
    {
        std::fputs(Help().c_str(), stdout);
        return kFine;
    }
    const Command* const command = FindCommand(name);
    if (!command)
        throw WrongUsage(std::string("there is no command '") + name + "'", nullptr);
    return RunCommand(*command, arguments + 1);
}

// What Run throws, as a status of which people have been told.
Status RunGuarded(const char* const* arguments)
{
    try
    {
        return Run(arguments);
    }
    catch (const Failure& failure)
    {
        Tell(failure);
        return failure.mStatus;
    }
    catch (const hollin::VoErrException&)
    {
        Tell(std::string(), "a text can't be converted");
        return kFaulty;
    }
    catch (const std::bad_alloc&)
    {
        Tell(std::string(), "there isn't enough memory");
        return kUnusable;
    }
}
} // namespace

int main(int, char** argv)
{
    const Status status = RunGuarded(argv + 1);
    if (std::fflush(stdout) == 0 && !std::ferror(stdout))
        return status;
    Tell("standard output", std::string("can't be written: ") + std::strerror(errno));
    return kUnusable;
}
