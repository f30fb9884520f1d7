// The last call: what the host does when the process is about to die of something
// that no status code can carry.
//
// Between birth and death, a hardware exception that nobody handles (an access to
// memory that isn't there, a stack overflow, an illegal instruction, an arithmetic
// exception), a call of std::terminate (as by an exception that nobody catches, or a
// call of a pure virtual function) and an invalid parameter given to the runtime end in
// a call of the host's handler, on the thread that failed and with no lock held.
// Several threads may fail at once; the first of them whose handler returns ends the
// process as a rule, also while those of others still run. Each failure makes a call. A
// failure within the handler calls no handler a second time; if the failure has also damaged
// the stack, a second call is possible.
//
// A handler need not return. It may jump out with siglongjmp, whose sigsetjmp has saved the
// signal mask: with the mask that a hardware exception leaves in the handler, the thread's
// next hardware exception ends the process without a call. When the handler returns, or
// throws, which is as much, whoever handled the failure before birth is called, and as a
// rule the process ends in the system's own way, with a core or crash log as the system is
// set up. Where that deals with the failure and goes on, or the handler has jumped out, the
// handlers stay; but an invalid parameter takes those of invalid parameters and hardware
// exceptions down, until the library is born once more, and another one then ends the
// process at once.
//
// In a handler little works for sure: the heap may be damaged, and a lock may be held by
// the code that failed. The same holds for a telemetry provider, which gets the event of a hardware
// exception first, and for a log sink, which gets a line when the call is over, too. There
// may be no more than 256 KiB of stack, and the thread can't be ended, as by pthread_exit. A
// handler that fails itself ends the process at once.
//
// A stack overflow needs a stack to handle it on. The threads of a role (U_Threads.h),
// those of threaded executors and those that set a local handler have one; on others it
// ends the process without a call. So does a hardware exception on a thread that blocks
// its signal.
//
// Handlers can be set before birth and outlive death. Any thread.
//
// An operator new that fails ends in std::bad_alloc. From birth to death the library's new
// handler stands in the place of the host's: on a main thread it reports "Out of memory."
// with the size, at U_Sev_INFO, first, in the words that birth has found. Within a report and where
// its text is made ready, under one of the library's locks, as in translators (U_Threads.h) and
// state factories (U_Context.h), and where a call promises to fail quietly, nothing is told: an
// alert there would hold up others.

#ifndef U_FATAL_H
#define U_FATAL_H

#include "U_Types.h"

typedef void (*U_FatalHandler)(void* refcon);

// The handler of the process; null for none. Either output may be null.
U_EXPORT void U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler handler,
                                                                  void* refcon);
U_EXPORT void U_GetGlobalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler,
                                                                  void** refcon);

// The handler of the calling thread, in the place of the process's; null for none.
// Either output may be null.
U_EXPORT void U_SetLocalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler handler,
                                                                 void* refcon);
U_EXPORT void U_GetLocalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler,
                                                                 void** refcon);

// The handler that would be called on the calling thread, with its refcon; null for
// none. Either output may be null.
U_EXPORT void U_GetUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler, void** refcon);

// Another local handler in a scope.
class U_EXPORT U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler
{
public:
    U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler handler, void* refcon);
    ~U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler();
    U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler(
        const U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler&) = delete;

    // Takes over what the other is to restore.
    U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler&
    operator=(const U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler& other);

    // The local handler from before; null if there was none.
    U_FatalHandler GetPreviousExceptionFunc() const;
    void* GetPreviousExceptionRefcon() const;

private:
    U_FatalHandler mPreviousFunc;
    void* mPreviousRefcon;
};

#endif
