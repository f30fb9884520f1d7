// The memory log: a row of figures at each interval, of what the library takes for
// use and of what the system reports.

#ifndef INDEP_U_MEMORY_MEMORY_LOG_H
#define INDEP_U_MEMORY_MEMORY_LOG_H

// Starts the log, in the file /bc_memory.PROCESS.log, which is appended to, with a
// first row after one interval: the setting "MemoryYoYoLogInterval" in
// milliseconds, at least 1, and 1000 if it is none or no number. Once started it
// goes on, over deaths and births, until the process ends; starting it again does
// nothing. A row is left out when a host's function throws, and late when there is
// no memory to wait with. For birth. Throws the errno, as an int, of a file that
// can't be opened, what starting a thread throws, and std::bad_alloc; it isn't
// started then, and a later birth tries again, with the file if there was one.
void Up_StartMemoryLog();

#endif
