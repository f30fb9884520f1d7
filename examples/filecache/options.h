// The command line.

#ifndef FILECACHE_OPTIONS_H
#define FILECACHE_OPTIONS_H

#include <string>
#include <vector>

#include <U_Types.h>

#include "crashes.h"
#include "language.h"
#include "message.h"
#include "system.h"

struct Options
{
    std::string folder = DefaultFolder();
    U_u64 budget = 16 << 20; // bytes
    unsigned int threads = 4;
    std::string logFile;       // empty: log lines are only counted
    std::string telemetryFile; // empty: no telemetry
    std::string memoryPlot;    // empty: none is drawn
    std::string reportFile;    // empty: none is written
    std::string dictionary;    // empty: texts are shown in English

    // The language whose dictionary serves instead; null if none was chosen.
    const Language* language = nullptr;

    // How to die instead of loading files; null: not at all.
    Crash crash = nullptr;
    unsigned int memoryLog = 0; // milliseconds between two rows; 0: no log
    bool verbose = false;
    bool help = false;
    bool version = false;
};

// Reads the whole command line, which begins with the program's name. Returns a message about one
// fault, or none.
Message ParseOptions(const std::vector<std::string>& arguments, Options* options);

// Prints the usage to stdout.
void PrintUsage();

#endif
