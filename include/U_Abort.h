// The abort check as an object that a host passes to a long computation.
//
//     U_NOUIThrottler throttler;
//     for (int step = 0; step < 1000 && !throttler.ThrottleAndCheckAbort(); ++step)
//     {
//         // one step of the computation
//     }
//
// Thread safety: a call serves the message queue of the calling thread. U_NOUIThrottler has no
// state, so threads may share one object.

#ifndef U_ABORT_H
#define U_ABORT_H

#include <boost/noncopyable.hpp>

#include "U_Types.h"

// Lets queued work run during a long computation, and returns whether the computation is to
// stop. A host derives from this class to limit the rate. REQUIRES: no object is deleted through
// a pointer to this class, which has no virtual destructor.
class U_EXPORT U_UIThrottler : private boost::noncopyable
{
public:
    // Returns: true if the user wants to stop.
    // Throws: the exceptions of the queued work.
    virtual bool ThrottleAndCheckAbort() = 0;
};

// Has no limit: each call is one U_Context::CheckAbortAndFlushCompletionRoutines (U_Context.h).
// A call that returns true has dispatched all queued keys, and then discarded the keys that arrived
// meanwhile, up to the next key-up.
class U_EXPORT U_NOUIThrottler : public U_UIThrottler
{
public:
    // A throttler without state.
    U_NOUIThrottler();
    bool ThrottleAndCheckAbort() override;
    virtual ~U_NOUIThrottler();
};

#endif
