// A picture of the run's use of memory, which the program memlog draws from the memory log.

#ifndef FILECACHE_MEMORY_PLOT_H
#define FILECACHE_MEMORY_PLOT_H

#include <string>

#include "message.h"

class MemoryPlot
{
public:
    MemoryPlot() = default;
    ~MemoryPlot(); // removes the log
    MemoryPlot(const MemoryPlot&) = delete;
    MemoryPlot& operator=(const MemoryPlot&) = delete;

    // Asks the library's next birth for a memory log in a folder of its own, since not every user
    // may write to the root. `interval` is in milliseconds. Returns a message on failure.
    Message Start(const std::string& file, unsigned int interval);

    // Draws the log to the file, if Start was called. memlog has written the reason of a failure
    // to stderr.
    Message Draw();

private:
    std::string mFile;
    std::string mProgram;
    std::string mFolder; // empty: none was made
};

// Sets the debug settings that birth reads. An empty folder is the root.
void AskForMemoryLog(unsigned int interval, const std::string& folder);

// Returns whether memlog makes a file with that ending.
bool HasPlotEnding(const std::string& path);

#endif
