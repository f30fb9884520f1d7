// The command line: its commands and their help.

#ifndef ZDICT_COMMAND_LINE_H
#define ZDICT_COMMAND_LINE_H

#include <string>
#include <vector>

#include "messages.h"

// Parses the command line, which begins with the program's name, and runs its command. Help is
// printed on standard output.
//
// Throws: Failure, also for wrong usage.
Status RunCommandLine(const std::vector<std::string>& arguments);

#endif
