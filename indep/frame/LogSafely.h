// The log where nothing may be thrown.

#ifndef INDEP_FRAME_LOG_SAFELY_H
#define INDEP_FRAME_LOG_SAFELY_H

// Runs write, which writes to the log. One that fails loses what it had to write, and
// whoever logs goes on.
template <class Write> void LogSafely(Write write) noexcept
{
    try
    {
        write();
    }
    catch (...)
    {
        // Nobody is left to tell.
    }
}

#endif
