// Thread roles and exception translators.
//
// The host registers each of its threads for its roles. Any code can query whether it runs on a
// thread with a role. Roles stay registered over birth and death.
//
//     U_RegisterRenderThread();
//     U_SetCurrentThreadName("render");
//     const bool isRendering = U_IsOnRenderThread(); // true
//     U_DeregisterRenderThread();
//
// Thread safety: all functions may be called on any thread.

#ifndef U_THREADS_H
#define U_THREADS_H

#include <exception>

#include <boost/function.hpp>

#include "U_Types.h"

namespace ATL
{
class CAtlException;
}

// The id of no thread.
const U_u32 U_NoThreadID = 0xFFFFFFFFu;

// Register or deregister the calling thread for a role that any number of threads may have. A
// thread that registers several times deregisters as often.
//
// A thread that registers as a main thread while there is no other entry becomes the UI thread. It
// stays the UI thread, also after it deregisters, until the next such registration.
//
// Throws: the registrations: std::bad_alloc, with nothing registered.
U_EXPORT void U_RegisterMainThread();
U_EXPORT void U_DeregisterMainThread();
U_EXPORT void U_RegisterRenderThread();
U_EXPORT void U_DeregisterRenderThread();

// Register or deregister the calling thread for a role that one thread has: the last one to
// register. Deregistering on any thread leaves the role without a thread.
U_EXPORT void U_RegisterPSLThread();
U_EXPORT void U_DeregisterPSLThread();
U_EXPORT void U_RegisterPRThread();
U_EXPORT void U_DeregisterPRThread();

// Return whether the calling thread, or the thread with the id, is registered for the role.
U_EXPORT bool U_IsOnMainThread();
U_EXPORT bool U_IsMainThreadID(U_u32 threadId);
U_EXPORT bool U_IsOnRenderThread();
U_EXPORT bool U_IsRenderThreadID(U_u32 threadId);
U_EXPORT bool U_IsOnUIThread();
U_EXPORT bool U_IsOnPSLThread();
U_EXPORT bool U_IsOnPRThread();

// Return the id of the registered thread, U_NoThreadID if there is none.
U_EXPORT U_u32 U_PSLThreadID();
U_EXPORT U_u32 U_PRThreadID();

// Names the calling thread for debuggers and process viewers. `name` is UTF-8. The platform may
// shorten the name. Null does nothing.
U_EXPORT void U_SetCurrentThreadName(const char* name);

// Converts a module's exceptions to status codes. A translator that recognises the exception
// reports it if needed, stores the status code, and returns true. The code is 14 if the translator
// stores none.
typedef boost::function2<bool, std::exception*, int*> U_ExceptionTranslator;

// Adds a translator. The newest translator is called first. U_Death removes all translators.
//
// Returns: the id of the translator, which is never used again; 0, with nothing added, if the
// library is not alive, there is no memory, or the translator is empty.
//
// Thread safety: translators run under the translator lock, one thread at a time. A translator may
// register, unregister and translate on its own thread.
//
// Failures:
// - If a translator throws an int, as a report in it may, the int is its code. A translator that
//   throws a std::exception counts as not having recognised the exception.
// - While a translator waits for another thread, or for the user in an alert, no other thread can
//   translate an exception. A translator and a logging callback (U_Interact.h) that wait for each
//   other's threads deadlock.
// - An operator new that fails in a translator is not reported (U_Fatal.h).
U_EXPORT U_u32 U_RegisterExceptionTranslatorImpl(U_ExceptionTranslator translator);

// Removes the translator. An unknown id does nothing.
U_EXPORT void U_UnregisterExceptionTranslator(U_u32 id);

// Converts an exception that has reached an entry point to a status code.
//
// Returns: 4 for std::bad_alloc; 3 for std::bad_cast, which is reported; otherwise the code of the
// first translator that recognises the exception; 14 for an exception that no translator
// recognises, which is logged and reported.
U_EXPORT U_Status U_TranslateAndReportException(std::exception& exception);

// Reports the system's text for the result code of the exception as a warning. Returns if the
// system has no text, or no memory for it. `file` and `line` are not used.
//
// Throws: the int 1; std::bad_alloc without memory for the text; if the report throws, its
// exception instead, such as the code of a logging callback (U_Report.h).
U_EXPORT void TranslateAndThrowATLException(ATL::CAtlException& exception, const char* file,
                                            int line);

#endif
