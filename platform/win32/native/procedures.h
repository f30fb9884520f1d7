// Window procedures that throw. An exception must not cross the frames of the system that call a
// procedure, so the exception is kept until the system's call has returned.

#ifndef WIN32_NATIVE_PROCEDURES_H
#define WIN32_NATIVE_PROCEDURES_H

namespace win32
{
// Throws the first exception that a window procedure of the calling thread has thrown since the
// last call. For use after a system call that calls procedures.
void RethrowFromProcedures();
} // namespace win32

#endif
