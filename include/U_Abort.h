// The abort check as an object, to be handed to a loop. It serves the queue of the
// thread that asks; what queued work throws passes through.

#ifndef U_ABORT_H
#define U_ABORT_H

#include <boost/noncopyable.hpp>

#include "U_Types.h"

// How a long computation lets queued work run and asks whether it is to stop. A
// host that wants to limit the rate derives from it. It isn't deleted through
// this class.
class U_EXPORT U_UIThrottler : private boost::noncopyable
{
public:
    // True if the user wants to stop.
    virtual bool ThrottleAndCheckAbort() = 0;
};

// Without a limit: each call is one
// U_Context::CheckAbortAndFlushCompletionRoutines (U_Context.h), which discards what
// keys have come meanwhile, up to the next key-up, when it tells of an abort.
class U_EXPORT U_NOUIThrottler : public U_UIThrottler
{
public:
    U_NOUIThrottler();
    bool ThrottleAndCheckAbort() override;
    virtual ~U_NOUIThrottler();
};

#endif
