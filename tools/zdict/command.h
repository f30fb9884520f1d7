// One command of the program.

#ifndef ZDICT_COMMAND_H
#define ZDICT_COMMAND_H

#include "messages.h"

namespace CLI
{
class App;
}

// A command is made once, and run at most once.
class Command
{
public:
    virtual ~Command() = default;

    // Declares the options and the operands of the command. command_options.h has helpers.
    //
    // `app` outlives the command.
    virtual void AddOptions(CLI::App* app) = 0;

    // Runs the command with the options of the command line.
    //
    // Throws: Failure.
    virtual Status Run() = 0;
};

#endif
