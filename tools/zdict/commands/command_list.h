// The commands of the program.

#ifndef ZDICT_COMMANDS_COMMAND_LIST_H
#define ZDICT_COMMANDS_COMMAND_LIST_H

#include <memory>
#include <vector>

#include "command.h"

struct CommandRow
{
    const char* mName;
    const char* mSummary;
    const char* mHelp; // in lines of at most 80 characters
    std::unique_ptr<Command> (*mMake)();
};

// Returns the commands in alphabetical order.
const std::vector<CommandRow>& AllCommands();

#endif
