// Telemetry of the program: figures, but no name of a user's file. The library adds the
// errors that it shows, with the text that the user sees.

#ifndef FILECACHE_TELEMETRY_EVENTS_H
#define FILECACHE_TELEMETRY_EVENTS_H

#include "cache.h"
#include "loader.h"
#include "options.h"

void LogStart(const Options& options);

// Counts a file that could not be held. Thread safety: any thread.
void LogRefusal();

void LogFinish(const LoadFigures& figures, const FileCache& cache, U_u64 unreadable);

#endif
