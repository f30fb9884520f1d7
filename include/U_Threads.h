// Thread roles and exception translators.
//
// The host tells which of its threads play which role, and any code asks
// whether it runs on such a thread. Roles outlive birth and death. All
// operations may be called on any thread.

#ifndef U_THREADS_H
#define U_THREADS_H

#include <exception>

#include <boost/function.hpp>

#include "U_Types.h"

namespace ATL
{
class CAtlException;
}

// The id that stands for no thread.
const U_u32 U_NoThreadID = 0xFFFFFFFFu;

// Each registers or deregisters the calling thread. A thread may hold a role
// several times and then deregisters as often. The thread whose registration
// makes the main list one entry long becomes the UI thread and stays it after
// it deregisters, until that happens again. Registering for one of these two
// roles throws std::bad_alloc, with nothing registered, if there is no memory.
U_EXPORT void U_RegisterMainThread();
U_EXPORT void U_DeregisterMainThread();
U_EXPORT void U_RegisterRenderThread();
U_EXPORT void U_DeregisterRenderThread();

// The PSL and PR roles belong to one thread each: the last to register.
// Deregistering empties the role, whoever calls.
U_EXPORT void U_RegisterPSLThread();
U_EXPORT void U_DeregisterPSLThread();
U_EXPORT void U_RegisterPRThread();
U_EXPORT void U_DeregisterPRThread();

U_EXPORT bool U_IsOnMainThread();
U_EXPORT bool U_IsMainThreadID(U_u32 threadId);
U_EXPORT bool U_IsOnRenderThread();
U_EXPORT bool U_IsRenderThreadID(U_u32 threadId);
U_EXPORT bool U_IsOnUIThread();
U_EXPORT bool U_IsOnPSLThread();
U_EXPORT bool U_IsOnPRThread();

// The registered thread's id, U_NoThreadID if there is none.
U_EXPORT U_u32 U_PSLThreadID();
U_EXPORT U_u32 U_PRThreadID();

// Names the calling thread for debuggers and process viewers, in UTF-8. The platform
// may cut the name short. Null does nothing.
U_EXPORT void U_SetCurrentThreadName(const char* name);

// Tells what a module's exceptions mean. A translator that recognises the
// exception reports it as needed, stores a status code (14 stands if it stores
// none) and returns true.
typedef boost::function2<bool, std::exception*, int*> U_ExceptionTranslator;

// Adds a translator; the newest is asked first. Returns its id, which is never
// given again, or 0 with nothing kept when the library isn't alive, there is no
// memory, or the translator is empty.
// Translators run under the translator lock, one thread at a time. An int that one
// throws, as a report inside it may, is its code; one that throws a std::exception
// counts as not having recognised anything. While one waits for another thread, or
// for the user in an alert, no other thread gets past an exception: a translator and
// a logging callback (U_Interact.h) that wait for each other's threads stop both. On
// its own thread a translator may register, unregister and translate. An operator new that
// fails in one isn't told (U_Fatal.h). All translators go with U_Death.
U_EXPORT U_u32 U_RegisterExceptionTranslatorImpl(U_ExceptionTranslator translator);

// Removes a translator. An unknown id does nothing.
U_EXPORT void U_UnregisterExceptionTranslator(U_u32 id);

// Turns an exception that reached the boundary into a status code: 4 for
// std::bad_alloc, 3 for std::bad_cast, which is reported, else what a translator
// says. One that no translator recognises is logged and reported, and gives 14.
U_EXPORT U_Status U_TranslateAndReportException(std::exception& exception);

// Reports the system's text for the exception's result code as a warning and throws
// the int 1; returns if there is no text. What the report throws, such as the code of
// a logging callback (U_Report.h), takes the place of the 1. The last two arguments
// aren't used.
U_EXPORT void TranslateAndThrowATLException(ATL::CAtlException& exception, const char* file,
                                            int line);

#endif
