// The slot that names a thread's current context.

#ifndef INDEP_CONTEXTS_THREAD_SLOT_H
#define INDEP_CONTEXTS_THREAD_SLOT_H

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include "U_Context.h"

const char kContextTrace[] = "U_Context"; // the category of traces
const int kContextTraceLevel = 6;

// In place of a context's id, clears the slot whatever it holds.
const U_i64 kAnyContext = -1;

// What the calling thread's slot holds, which may have ended; null if it is empty.
const boost::weak_ptr<U_Context>* ThreadSlot();

// Makes the context the calling thread's, in the place of whatever was. Throws
// std::bad_alloc with the slot empty, and only on a thread that never had one.
void AttachContextTLS(const boost::shared_ptr<U_Context>& context);

// Clears the slot if it holds the context of that id or one that has ended.
void DetachContextTLS(const char* reason, U_i64 contextId);

#endif
