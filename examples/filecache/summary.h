// What the program tells at its end.

#ifndef FILECACHE_SUMMARY_H
#define FILECACHE_SUMMARY_H

#include <U_Types.h>

#include "cache.h"
#include "loader.h"
#include "table.h"

// Adds the rows of a load that took that many seconds. unreadable counts what
// was met while loading and before.
void AddLoad(const LoadFigures& figures, const FileCache& cache, U_u64 unreadable, double seconds,
             Table* table);

#endif
