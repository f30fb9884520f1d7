// What the program tells to telemetry: figures, and no name of a user's file. The
// library adds the errors that it shows, in the words that the user sees.

#ifndef FILECACHE_EVENTS_H
#define FILECACHE_EVENTS_H

#include "cache.h"
#include "loader.h"
#include "options.h"

void TellStart(const Options& options);

// A file that couldn't be held. Any thread.
void TellRefusal();

void TellFinish(const LoadFigures& figures, const FileCache& cache, U_u64 unreadable);

#endif
