// Messages that wait for the user, and the one that was shown last.

#ifndef INDEP_ERRORS_POSTED_ERRORS_H
#define INDEP_ERRORS_POSTED_ERRORS_H

#include <list>

#include "U_Types.h"

struct Up_PostedError
{
    U_UTF16String mText; // as composed
    U_u16 mSeverity;
    U_u32 mLocation;
    bool mCoalesced; // made of grouped messages when they are shown
};

// A list, so that no memory is asked for with its lock held: who is asked when there
// is none may report.
typedef std::list<Up_PostedError> PostedErrors;

// For birth and death.
void MakePostedErrors();
void FreePostedErrors();

// Puts a message on the list; any thread. One that another thread than the UI
// thread posts while the very same is the last that was shown is dropped, which
// is success. Returns 0; 4 without memory; 3 while there is no list.
U_Status Up_PostError(U_u32 location, U_u16 severity, const U_UTF16String& text);

// Keeps what goes to an alert, for the comparison above.
void RememberLastReported(U_u32 location, U_u16 severity, const U_UTF16String& text);

#endif
