// The figures of a load as rows of the table.

#ifndef FILECACHE_FIGURE_ROWS_H
#define FILECACHE_FIGURE_ROWS_H

#include <U_Types.h>

#include "cache.h"
#include "figure_table.h"
#include "loader.h"

// Adds the rows of a load. unreadable: files and folders that could not be read, by the walk
// and the load. seconds: the time of both.
void AddLoad(const LoadFigures& figures, const FileCache& cache, U_u64 unreadable, double seconds,
             Table* table);

#endif
