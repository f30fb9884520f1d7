// The command line.

#ifndef FILECACHE_OPTIONS_H
#define FILECACHE_OPTIONS_H

#include <string>

#include <U_Types.h>

struct Options
{
    std::string folder = "/usr/include";
    U_u64 budget = 16 << 20; // bytes
    unsigned int threads = 4;
    std::string logFile; // empty: log lines are only counted
    bool verbose = false;
    bool help = false;
};

extern const char* const kUsage;

// Returns what is wrong with the command line, empty if nothing is.
std::string ParseOptions(int argc, char** argv, Options* options);

#endif
