// The fatal paths, for birth and death.

#ifndef INDEP_FRAME_FATAL_H
#define INDEP_FRAME_FATAL_H

// Makes the last call: the host's handler, and the line in the log that tells that it
// is over. For the paths on which the process dies. Allocates nothing itself.
void Up_CallHandler() noexcept;

// Another number each time that the calling thread is to make one more last call; never 0.
unsigned int Up_ArmingsOfThread() noexcept;

// Lets threads that have made the last call make one more.
void Up_ArmLastCalls() noexcept;

// Gives the calling thread what it takes to make the last call when its stack has
// overflowed. Without memory the thread goes without.
void Up_PrepareThreadForOverflow();

// Installs the handlers of hardware exceptions and of invalid parameters, or puts the
// previous ones back.
void Up_InstallCrashHandlers(bool install);

// The same for std::terminate.
void Up_InstallTerminateHandler(bool install);

// The same for an operator new that fails.
void Up_InstallNewHandler(bool install);

#endif
