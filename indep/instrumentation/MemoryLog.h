// The memory log: rows with the use that the library measures and the figures of the system.

#ifndef INDEP_INSTRUMENTATION_MEMORY_LOG_H
#define INDEP_INSTRUMENTATION_MEMORY_LOG_H

// Starts the log if the setting "MemoryYoYoLog" is "true". Called by birth.
//
// The log appends to the file FOLDER/bc_memory.PROCESS.log: a start line, a header, and a row after
// each interval. The setting "MemoryYoYoLogFolder" is the folder; by default it is empty, and the
// file is in the root. The setting "MemoryYoYoLogInterval" is the interval in milliseconds, at
// least 1; the default, also for a text that is no number, is the interval of the earlier start, at
// first 1000. The log continues after a death until the process ends.
//
// If the setting "MemoryYoYoLogPurges" is "true", each row has one more column, "purges": the calls
// of the purge callback since the row before. Each start reads the setting.
//
// A later start ends the old thread, which may first finish a row. The start reads the interval
// again, opens the file again, and writes another start line and header. The files of earlier
// starts stay open.
//
// Throws: the errno, as an int, if the file cannot be opened, which U_GetMemoryLogPath then returns
// too; exceptions of the start of a thread;
// std::bad_alloc. Then there is no log until the next start.
// Failures:
// - If a function of the host throws, a row is missing.
// - Without memory to schedule a row, the row is late.
// - A child of fork has no log until its first start.
void Up_StartMemoryLog();

#endif
