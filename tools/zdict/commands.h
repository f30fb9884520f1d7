// What the program can do.

#ifndef ZDICT_COMMANDS_H
#define ZDICT_COMMANDS_H

#include <cstddef>

#include "messages.h"
#include "options.h"

struct Command
{
    const char* mName;
    const char* mOperands; // as the usage line has them
    const char* mSummary;  // in the list of commands
    const char* mHelp;     // what it does, in full
    unsigned int mOptions; // those that it takes
    std::size_t mFewest;   // operands
    std::size_t mMost;
    Status (*mRun)(const Options& options); // may throw a Failure
};

extern const Command kCheckCommand;
extern const Command kCompileCommand;
extern const Command kDumpCommand;
extern const Command kGetCommand;
extern const Command kMergeCommand;
extern const Command kStatsCommand;

const std::size_t kAnyNumber = static_cast<std::size_t>(-1);

#endif
