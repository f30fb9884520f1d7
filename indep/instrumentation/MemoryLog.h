// The memory log: a row of figures at each interval, of what the library takes for
// use and of what the system reports.

#ifndef INDEP_INSTRUMENTATION_MEMORY_LOG_H
#define INDEP_INSTRUMENTATION_MEMORY_LOG_H

// Starts the log if the setting "MemoryYoYoLog" is "true". For birth.
//
// The log is the file /bc_memory.PROCESS.log, which is appended to: a start line, a
// header, and a row after each interval, in milliseconds from the setting
// "MemoryYoYoLogInterval", at least 1, and 1000 if it is none or no number.
//
// The log goes on over a death until the process ends. A later start ends the old thread,
// which may first finish a row, reads the interval again, opens the file again, and writes
// another start line and header. The files of earlier starts stay open. A row is left out if
// a host's function throws, and late if there is no memory to wait with. A child of fork has
// no log until its first start.
//
// Throws the errno, as an int, of a file that can't be opened, what starting a thread
// throws, and std::bad_alloc. Then there is no log until the next start.
void Up_StartMemoryLog();

#endif
