// The last call of the host before the process dies of a failure that no status code can carry.
//
//     struct Session
//     {
//         void Keep() {} // writes the work that the user has not saved
//     };
//     static Session session;
//     U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(
//         [](void* refcon) { static_cast<Session*>(refcon)->Keep(); }, &session);
//
// Between birth and death the library calls the host's handler for:
// - a hardware exception that nothing else handles: an access to memory that is not mapped or
//   not allowed, a stack overflow, an illegal instruction, an arithmetic exception;
// - a call of std::terminate, as by an exception that is not caught or a pure virtual call (on
//   Windows a pure virtual call is an access to memory that is not mapped);
// - an invalid parameter given to the runtime.
//
// The call is made on the thread that failed, and the library holds no lock during the call.
// After the handler has returned or thrown, the library writes a log line and calls the handler
// that the failure had before birth. As a rule that is the system's: the process ends with a core
// or a crash log, as the system is set up.
//
// Thread safety: all functions may be called on any thread, also before birth and after death.
// A handler that was set before birth remains set after death.
//
// Each failure makes one call. Several threads may fail at once, and each makes its call. As a
// rule the first handler that returns ends the process, also while handlers run on other threads.
//
// In a handler, in the telemetry provider that gets the event of a hardware exception before the
// call, and in the log sink that gets the line after the call:
// - The heap may be damaged. A lock may be held by the code that failed.
// - 256 KiB of stack are available, or less.
// - The thread cannot be ended alone, as by pthread_exit or ExitThread.
// - A further failure calls no handler that is running already. A handler that fails ends the
//   process at once.
//
// Jumps:
// - On POSIX systems a handler need not return: it may leave by siglongjmp. The sigsetjmp must have
//   saved the signal mask. With the mask of the handler, the next hardware exception of the thread
//   ends the process without a call.
// - On Windows a handler must return or end the process: the system calls the handler while it
//   searches the stack for a handler of the exception, and a jump would leave that search.
//
// After a jump, and after a failure that the handler from before birth has dealt with, the
// library's handlers remain installed. Only an invalid parameter removes those of invalid
// parameters and of hardware exceptions, until the next birth: a further failure of these kinds
// ends the process at once.
//
// Failures:
// - A stack overflow needs stack that is kept for the handler: on POSIX systems a second stack, on
//   Windows a part of the thread's own. The threads with a role (U_Threads.h), the threads of
//   threaded executors, the thread of birth and the threads that have set a local handler have
//   kept it. On any other thread a stack overflow ends the process without a call.
// - POSIX: a hardware exception on a thread that blocks its signal ends the process without a call.
// - If a failure within the handler has also damaged the stack, a second call is possible.
// - A handler that the host installs over the library's own, with sigaction,
//   SetUnhandledExceptionFilter and the like, gets the failure first, and the library only if that
//   handler calls the one that it has replaced. The library installs its own over such a handler at
//   the next birth, for at most three different handlers a position. It stays beneath a fourth.
// - Windows: a handler of std::signal gets a hardware exception of the first thread first, also if
//   the handler was set before birth.
// - A jump runs no destructor of the frames that it leaves. If these are frames of the library,
//   because a callback of the host or the library itself has failed, then:
//   - Locks of the library that these frames hold stay locked. Other threads may wait for ever.
//   - Out of a report: the library makes no more reports on the thread. Functions still return
//     their codes.
//   - Out of the report of a failed allocation, of a failed conversion of text or of an unknown
//     exception: failures of that one kind are no longer reported on the thread.
//   - Out of a purge callback that U_RegisterHog has called: U_RegisterHog returns 4 on the
//     thread whenever the table of hogs has to grow.
//   - Out of a function within a suspended context (U_Context.h): the behaviour of later
//     suspensions on the thread is undefined.
//   - Out of the report of a failed operator new, or of a section in which operator new fails
//     quietly: the new handler reports no further failure on the thread. After the latter it
//     is not called at all, and operator new throws std::bad_alloc at once.
//
// From birth to death the library's new handler replaces the host's. A failed operator new throws
// std::bad_alloc. On a main thread the handler first reports "Out of memory." with the size, at
// U_Sev_INFO, in English, since no language is in use at birth. The failure is not reported, since
// an alert would block other threads:
// - within a report, and while the text of a report is made;
// - under one of the library's locks, as in translators (U_Threads.h) and state factories
//   (U_Context.h);
// - in calls that promise to fail quietly.

#ifndef U_FATAL_H
#define U_FATAL_H

#include "U_Types.h"

// Gets the refcon with which it was set.
typedef void (*U_FatalHandler)(void* refcon);

// The handler of the process; null for none. Either out-parameter may be null.
U_EXPORT void U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler handler,
                                                                  void* refcon);
U_EXPORT void U_GetGlobalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler,
                                                                  void** refcon);

// The handler of the calling thread, which is called instead of that of the process; null for
// none. Either out-parameter may be null.
U_EXPORT void U_SetLocalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler handler,
                                                                 void* refcon);
U_EXPORT void U_GetLocalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler,
                                                                 void** refcon);

// Returns the handler that a failure of the calling thread would call, with its refcon; null for
// none. Either out-parameter may be null.
U_EXPORT void U_GetUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler, void** refcon);

// Sets the local handler for a scope, and restores the previous one at the end.
class U_EXPORT U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler
{
public:
    // Sets the handler; null for none.
    U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler handler, void* refcon);
    ~U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler();
    U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler(
        const U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler&) = delete;

    // This scope restores the handler that the other one would restore.
    U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler&
    operator=(const U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler& other);

    // The local handler before the scope; null if there was none.
    U_FatalHandler GetPreviousExceptionFunc() const;
    void* GetPreviousExceptionRefcon() const;

private:
    U_FatalHandler mPreviousFunc;
    void* mPreviousRefcon;
};

#endif
