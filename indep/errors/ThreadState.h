// What a thread keeps of its reports, for the report path.

#ifndef INDEP_ERRORS_THREAD_STATE_H
#define INDEP_ERRORS_THREAD_STATE_H

#include "U_Types.h"

struct Up_LastErrorState
{
    U_u32 mLastError; // status or system code
    U_u16 mLastSeverity;
    U_u32 mLastLocation;
};

// The calling thread's state, made with all fields 0 if need be. Null without
// memory. It goes when the thread ends.
Up_LastErrorState* Up_MakeLastErrorState();

// The thread logging buffer, null if the thread has none.
char* Up_FindThreadLoggingBuffer();

#endif
