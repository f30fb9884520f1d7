// The memory log: a row of figures at each interval, of what the library takes for
// use and of what the system reports.

#ifndef INDEP_U_MEMORY_MEMORYLOG_H
#define INDEP_U_MEMORY_MEMORYLOG_H

// Starts the log, in the file /bc_memory.PROCESS.log, which is appended to, with a
// first row after one interval: the setting "MemoryYoYoLogInterval" in
// milliseconds, at least 1, by itself 1000. Once started it goes on, over deaths
// and births, until the process ends; starting it again does nothing. For birth.
// Throws the errno, as an int, of a file that can't be opened, and what starting a
// thread throws.
void Up_StartMemoryLog();

#endif
