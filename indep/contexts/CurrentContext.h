// The calling thread's current context, as contexts and suspensions change it.

#ifndef INDEP_CONTEXTS_CURRENT_CONTEXT_H
#define INDEP_CONTEXTS_CURRENT_CONTEXT_H

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include "U_Context.h"

const char kContextTrace[] = "U_Context"; // the category of traces
const int kContextTraceLevel = 6;

// In place of a context's id: any context.
const U_i64 kAnyContext = -1;

// Returns the calling thread's current context, which may have ended; null if the thread has
// none.
const boost::weak_ptr<U_Context>* ThreadContext();

// Returns whether the object is the calling thread's current context. Changes no reference count,
// since a nested setter calls this twice.
//
// REQUIRES: the object is alive, and ThreadContext() is not null.
bool IsThreadContext(const U_Context* context);

// Makes `context` current on the calling thread in place of the previous one.
//
// Throws: std::bad_alloc, only on a thread that never had a context; the thread has none then.
void AttachContextTLS(const boost::shared_ptr<U_Context>& context);

// Leaves the calling thread without a current context, if the current one has the id
// `contextId` or has ended. `reason` is for the trace.
void DetachContextTLS(const char* reason, U_i64 contextId);

#endif
