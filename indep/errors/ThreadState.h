// The latest report of each thread.

#ifndef INDEP_ERRORS_THREAD_STATE_H
#define INDEP_ERRORS_THREAD_STATE_H

#include "U_Types.h"

struct Up_LastErrorState
{
    U_u32 mLastError; // status or system code
    U_u16 mLastSeverity;
    U_u32 mLastLocation;
};

// Returns the calling thread's state. All fields are 0 at first.
Up_LastErrorState& Up_LastErrorStateOfThread();

// Returns the thread logging buffer; null if the thread has none.
char* Up_FindThreadLoggingBuffer();

#endif
