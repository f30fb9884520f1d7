// Contexts: logical tasks of the host and their state.
//
// A context represents one task. A context owns one state for each registered key. Code on
// the thread where the task runs finds the context through U_Context::GetCurrent, without a
// parameter. A thread has at most one current context and does not own it. Activations nest:
// the first one makes the context current and calls OnActivate of its states, the last
// deactivation calls OnDeactivate and leaves the thread without a current context.
//
//     const boost::shared_ptr<U_Context> task = U_Context::MakeNewContext();
//     {
//         const U_ContextSetter setter(task);
//         const boost::shared_ptr<U_Context> current = U_Context::GetCurrent(); // the task
//     }
//     const bool isIdle = !task->IsActive() && !U_Context::HasCurrent(); // true
//
// Thread safety: any thread may call all functions. A context belongs to one thread at a time.
// An activation on a thread without a current context takes the context over from its thread
// without a check. REQUIRES: a host that passes a context on orders the two threads.
//
// A failed check is reported and then thrown as the int 3.

#ifndef U_CONTEXT_H
#define U_CONTEXT_H

#include <atomic>
#include <map>

#include <boost/enable_shared_from_this.hpp>
#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <krobase/immutable_string.h>

#include "U_Types.h"

class U_Context;
class U_SuspendContext;

// Instantiated once, in the library.
extern template class U_EXPORT boost::enable_shared_from_this<U_Context>;

// The state that a module keeps for each context. The context owns the state. A state is
// made by the constructor of its context: shared_from_this of the context does not work yet.
class U_EXPORT U_State : private boost::noncopyable
{
public:
    // Returns the key under which the state is registered. For the host's own lists: the library
    // does not call GetKey.
    virtual krobase::utility::ImmutableString GetKey() const = 0;

protected:
    // `context` makes the state, and outlives it.
    explicit U_State(U_Context* context);
    virtual ~U_State();

public:
    // Called by the first activation, on the thread where the context becomes current, before the
    // activation counts: IsActive is false. A suspension of the context (U_Suspend.h) calls
    // neither hook.
    //
    // REQUIRES: does not activate the context.
    // Failures: may throw; then the activation does not count, and the context stays the
    // thread's. The host keeps the context and activates it again. If the context is destroyed
    // before that, its thread cannot have another context.
    virtual void OnActivate() = 0;

    // Called by the last deactivation, on its thread, after it was counted: IsActive is false.
    // If the context is destroyed while it is active, called by the destructor: IsActive is
    // true.
    //
    // REQUIRES: does not activate the context.
    // Failures: an exception does not leave the destructor of a setter or of the context. It is
    // reported there; an int is dropped, since the code that throws an int has reported the
    // failure. After an exception the rule for OnActivate holds: the host keeps the context and
    // activates it again.
    virtual void OnDeactivate() = 0;

protected:
    U_Context* const mContext; // not owned
};

// Makes the state of a context that is being constructed. May return null: the context then
// has a null state under the key and calls no hooks of it.
//
// REQUIRES: does not register or unregister a state, makes no context, and waits for no thread
// that does one of these: the factories are locked while they run.
// Failures: if a factory throws, no context is made. An operator new that fails in a factory is
// not reported (U_Fatal.h).
typedef boost::function<boost::shared_ptr<U_State>(U_Context*)> U_StateFactory;

// A context: its states, one from each factory that was registered when the context was made.
class U_EXPORT U_Context : public boost::enable_shared_from_this<U_Context>
{
public:
    // Returns a new context with one state from each factory that is registered now.
    //
    // Throws: the exceptions of the factories; boost::bad_function_call for an empty factory;
    // std::bad_alloc.
    static boost::shared_ptr<U_Context> MakeNewContext();

    // Returns the current context of the calling thread, never null.
    //
    // Throws: 3 if there is none, or if the context was destroyed while it was current.
    static boost::shared_ptr<U_Context> GetCurrent();

    // Returns true if GetCurrent would return a context.
    static bool HasCurrent();

    // Dispatches the queued messages of the calling thread: user functions, then timers, then
    // keys. Needs no current context. Meant for inner loops: with an empty queue the call
    // allocates nothing, except for the first call of a thread, which makes the queue.
    //
    // Returns: true if the Escape key was among the keys. Then the call has also discarded the
    // keys that were queued after these, up to the next key-up.
    // Failures:
    // - An exception of a window procedure passes through; the other messages stay queued.
    // - Each of the three passes runs until its range of the queue is empty. A window procedure
    //   that always posts the next message, or that runs longer than the interval of its timer,
    //   keeps the call from returning.
    // - A window procedure may make this call too. Each message is dispatched by one of the two
    //   calls, and the call that takes the Escape key returns true.
    static bool CheckAbortAndFlushCompletionRoutines();

    // Registers the factory for all contexts made from now on. If the key is registered, its
    // first factory stays.
    //
    // Throws: std::bad_alloc.
    static void RegisterState(const krobase::utility::ImmutableString& key,
                              const U_StateFactory& factory);

    // Removes the factory of the key, if there is one. Existing contexts keep their states.
    static void UnregisterState(const krobase::utility::ImmutableString& key);

    // A copy shares the states of the original, has the same id, thread and count of
    // activations, and is not current on any thread. A copy of an active context is active: its
    // destructor calls OnDeactivate of the shared states, and also removes the original from the
    // thread where that happens, since both have the same id.
    U_Context(const U_Context& other);
    U_Context& operator=(const U_Context& other);

    // If the context is active, calls OnDeactivate of each state, also after another state has
    // thrown, on the thread that releases the last reference. Meanwhile IsActive is true,
    // GetCurrent throws 3 and shared_from_this throws boost::bad_weak_ptr.
    virtual ~U_Context();

    // Returns whether activations outnumber deactivations.
    bool IsActive() const { return mActiveCount.load() > 0; }

    // Returns the id, unique in the process, counted from 1.
    U_i64 GetContextID() const { return mContextID; }

    // Returns the system's id of the thread to which the context belongs or on which it was last
    // current; 0xFFFFFFFF before the first activation and while the context is suspended.
    U_u32 GetThreadID() const { return mThreadID.load(std::memory_order_relaxed); }

protected:
    friend class U_ContextSetter;
    friend class U_WeakContextSetter;
    friend class U_SuspendContext;

    U_Context();

    // Counts one activation and makes the context current on the calling thread. If the context
    // belonged to another thread, that thread can no longer activate it, and deactivations there
    // only lower the count.
    //
    // Throws:
    // - 3, with nothing changed, if the thread's current context was destroyed, is another
    //   context, or now belongs to another thread;
    // - std::bad_alloc, with nothing changed;
    // - boost::bad_weak_ptr if no shared_ptr owns the context;
    // - the exception of a state: the activation does not count, the context stays the thread's.
    virtual void Activate();

    // Removes one activation. The last deactivation, on the context's thread, calls OnDeactivate
    // of the states and leaves the thread without a current context.
    //
    // Throws: the exception of a state, at once. The activation is removed and the context is
    // not active, the later states are not called, and the context stays the thread's until a
    // later activation of it ends without an exception.
    virtual void Deactivate();

    // Returns the state of the key.
    //
    // Throws: 1, without a report, if the context has none.
    boost::shared_ptr<U_State> GetState(const krobase::utility::ImmutableString& key);

private:
    typedef std::map<krobase::utility::ImmutableString, boost::shared_ptr<U_State>> States;

    // Ordered by the identity of the key's text: the order has no meaning.
    typedef std::map<krobase::utility::ImmutableString, U_StateFactory> StateFactories;

    void CallStates(void (U_State::*hook)());

    States mStates; // changed by operator= only
    std::atomic<U_i64> mActiveCount{0};
    U_i64 mContextID;
    // Written by the thread to which the context belongs. A host that passes the context on
    // orders the two threads. Other threads only compare the value with their own id.
    std::atomic<U_u32> mThreadID;

    static std::atomic<U_i64> S_ctxt_id;
    static StateFactories& S_states_factory;
};

// Activates a context for a scope, on the thread of the scope. Owns a reference to the context.
class U_EXPORT U_ContextSetter : private boost::noncopyable
{
public:
    // Activate `context`; without one, or for null, the current context of the thread once more.
    //
    // Throws: as U_Context::GetCurrent and U_Context::Activate.
    U_ContextSetter();
    explicit U_ContextSetter(const boost::shared_ptr<U_Context>& context);

    // Deactivates the context. An exception of a state is reported and does not pass.
    virtual ~U_ContextSetter();

    // Returns the context that this object has activated.
    U_Context* operator->() const { return mContext.get(); }

private:
    const boost::shared_ptr<U_Context> mContext;
};

// Activates a context for a scope if the thread has no current context, and does not own a
// reference. Does nothing on a thread that has a current context, and for null.
class U_EXPORT U_WeakContextSetter : private boost::noncopyable
{
public:
    // Throws: as U_Context::Activate.
    explicit U_WeakContextSetter(const boost::shared_ptr<U_Context>& context);
    virtual ~U_WeakContextSetter();

private:
    boost::weak_ptr<U_Context> mContext; // empty if the constructor did nothing
};

#endif
