// The fatal paths, for birth and death.

#ifndef INDEP_CRASH_FATAL_H
#define INDEP_CRASH_FATAL_H

// Makes the last call: the host's handler, unless the calling thread is within the handler
// already, and the log line after the call. For the paths on which
// the process dies. Allocates nothing itself.
void Up_CallHandler() noexcept;

// Installs the handlers of hardware exceptions and of invalid parameters, or puts the
// previous ones back.
void Up_InstallCrashHandlers(bool install);

// The same for std::terminate.
void Up_InstallTerminateHandler(bool install);

// The same for an operator new that fails.
void Up_InstallNewHandler(bool install);

#endif
