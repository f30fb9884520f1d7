// The figures that the system keeps of the process.

#ifndef WIN32_POSIX_STATUS_FIGURES_H
#define WIN32_POSIX_STATUS_FIGURES_H

#include <cstddef>

namespace win32
{
struct StatusFigure
{
    const char* mLabel; // with its colon
    std::size_t mValue;
};

// Takes the figures' values from /proc/self/status, as they stand there; what
// isn't there keeps its value. False if it can't be read.
bool ReadStatusFigures(StatusFigure* figures, std::size_t count);
} // namespace win32

#endif
