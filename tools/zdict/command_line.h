// The command line, its options and its commands.

#ifndef ZDICT_COMMAND_LINE_H
#define ZDICT_COMMAND_LINE_H

#include <cstdint>
#include <string>
#include <vector>

#include "messages.h"

struct Options
{
    std::vector<std::string> mOperands; // files; of get, a file and a key
    std::string mOutput = "-";
    std::string mLocale; // empty if the option is absent
    unsigned int mCodePage = 65001;
    bool mCodePageGiven = false;
    std::uint32_t mBase = 0;
    bool mBigEndian = false;
    bool mNoKeys = false;
    bool mUTF16 = false;
    bool mComment = false;
    bool mNoComments = false;
    bool mVerbose = false;
};

// Parses the command line, which begins with the program's name, and runs its command. Help is
// printed on standard output.
//
// Throws: Failure, also for wrong usage.
Status RunCommandLine(const std::vector<std::string>& arguments);

// The commands.
//
// Throws: Failure.
Status Check(const Options& options);
Status Compile(const Options& options);
Status Dump(const Options& options);
Status Get(const Options& options);
Status Merge(const Options& options);
Status Stats(const Options& options);

#endif
