// The fatal paths, for birth and death.

#ifndef INDEP_CRASH_FATAL_H
#define INDEP_CRASH_FATAL_H

// The last call of the host, on a path on which the process dies: the host's handler, then
// the log line. Leaves out either one that the calling thread is within already. Allocates
// no memory itself.
class LastCall
{
public:
    // Walks the stack to find such calls. A damaged stack is harmless while the filter of
    // hardware exceptions is installed.
    LastCall() noexcept;
    void Make() const noexcept;

private:
    bool mCallsHandler;
    bool mLogs;
};

// Makes the last call.
void Up_CallHandler() noexcept;

// Installs the handlers of hardware exceptions and of invalid parameters, or restores the
// previous ones.
void Up_InstallCrashHandlers(bool install);

// Installs the handler of std::terminate, or restores the previous one.
void Up_InstallTerminateHandler(bool install);

// Installs the handler of a failed operator new, or restores the previous one.
void Up_InstallNewHandler(bool install);

#endif
