// Contexts: logical tasks of the host and their state.
//
// A context stands for one task. It carries a state for each registered key, and
// code on the thread where the task runs finds it through U_Context::GetCurrent,
// without its being handed down. A thread has at most one current context and
// doesn't keep it alive. Activations nest: the first makes the context current
// and tells its states, the last tells them again and ends that.
//
// Any thread may call everything here. A context belongs to one thread at a time. An
// activation on a thread without a current context takes the context over from the thread
// that has it, without a check; a host that hands a context on orders the two threads.
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

// The library has the one instantiation.
extern template class U_EXPORT boost::enable_shared_from_this<U_Context>;

// What a module keeps for each context. It belongs to its context and is made
// while that is being built, when shared_from_this can't be used yet.
class U_EXPORT U_State : private boost::noncopyable
{
public:
    // The key that the state is registered under, for the host's own listings.
    virtual krobase::utility::ImmutableString GetKey() const = 0;

protected:
    explicit U_State(U_Context* context);
    virtual ~U_State();

public:
    // Called when the context becomes current on the calling thread, and when it
    // ceases to be. With a suspended context neither is called. In both IsActive is
    // false, unless the context ends, and the context mustn't be activated.
    // OnActivate may throw. What OnDeactivate throws out of a setter's or a context's
    // end goes no further: an exception is reported there, an int is dropped, since
    // who throws one has reported it. Whoever lets either throw keeps the context and
    // activates it again: if it goes before that, its thread can have no other one.
    virtual void OnActivate() = 0;
    virtual void OnDeactivate() = 0;

protected:
    U_Context* const mContext; // not owned
};

// Makes the state of a context that is being built. It may throw; then there is
// no context. It registers and unregisters nothing and makes no context, and waits for
// no thread that does: what is registered is locked against changes meanwhile. An operator
// new that fails in it isn't told (U_Fatal.h). A null state stands under its key and is
// told nothing.
typedef boost::function<boost::shared_ptr<U_State>(U_Context*)> U_StateFactory;

class U_EXPORT U_Context : public boost::enable_shared_from_this<U_Context>
{
public:
    // A context with a state from each factory that is registered now. Throws what
    // a factory throws, boost::bad_function_call for an empty one, and
    // std::bad_alloc.
    static boost::shared_ptr<U_Context> MakeNewContext();

    // The calling thread's context, never null. Throws 3 if there is none, or if
    // it has ended while current.
    static boost::shared_ptr<U_Context> GetCurrent();

    // Whether there is one.
    static bool HasCurrent();

    // Runs what is queued for the calling thread: user functions, then timers,
    // then keys. True if the Escape key was among them; of the keys that have come
    // meanwhile, those up to the next key-up are discarded then. For inner loops:
    // with nothing queued it allocates nothing, but for a thread's first call, which
    // makes its queue. Each of the three runs until there is none left: a window
    // procedure that always posts the next message, or takes longer than its timer's
    // interval, keeps the call from returning. What a window procedure throws passes
    // through, and leaves the rest queued. One that makes the same call runs what is
    // queued, and of the two the call that has taken the key tells. It needs no
    // current context.
    static bool CheckAbortAndFlushCompletionRoutines();

    // Adds the factory of a key for all contexts made from now on. A key that is
    // registered already keeps its factory. Throws std::bad_alloc.
    static void RegisterState(const krobase::utility::ImmutableString& key,
                              const U_StateFactory& factory);

    // Ends that. Contexts keep the states they have; an unknown key does nothing.
    static void UnregisterState(const krobase::utility::ImmutableString& key);

    // A copy shares the states and has the id, the thread and the count of
    // activations of the original, but isn't current anywhere. So a copy of an active
    // context is active: its end tells the shared states, and ends the original's
    // being current on the thread where that happens, since the two have one id.
    U_Context(const U_Context& other);
    U_Context& operator=(const U_Context& other);

    // A context that ends while it is active tells its states, each whatever the
    // others throw, on the thread that lets go of it last. IsActive is still true then,
    // but GetCurrent throws 3 and shared_from_this boost::bad_weak_ptr.
    virtual ~U_Context();

    bool IsActive() const { return mActiveCount.load() > 0; }

    // From 1 up; no two contexts of a process have the same.
    U_i64 GetContextID() const { return mContextID; }

    // The system's id of the thread it belongs to or was last current on;
    // 0xFFFFFFFF before that and while it is suspended.
    U_u32 GetThreadID() const { return mThreadID.load(std::memory_order_relaxed); }

protected:
    friend class U_ContextSetter;
    friend class U_WeakContextSetter;
    friend class U_SuspendContext;

    U_Context();

    // Makes the context current on the calling thread, or once more so. If another thread
    // had it, that thread can't activate it again; its deactivations only lower the count.
    // Throws 3, with nothing changed, if the thread's context has ended, is another one,
    // or belongs to another thread by now; std::bad_alloc, with nothing changed either;
    // boost::bad_weak_ptr for a context that no shared_ptr owns; and what a state
    // throws: then the activation doesn't count, and the context stays the thread's.
    virtual void Activate();

    // Takes one activation back. The last one on the context's thread tells the
    // states and ends its being current. Throws what a state throws, at once: then the
    // activation is taken back and the context isn't active, the states after that one
    // aren't told, and the context stays the thread's until a later activation of it
    // ends cleanly.
    virtual void Deactivate();

    // The state of a key; throws 1 if the context has none.
    boost::shared_ptr<U_State> GetState(const krobase::utility::ImmutableString& key);

private:
    typedef std::map<krobase::utility::ImmutableString, boost::shared_ptr<U_State>> States;

    // By the identity of the key's text, and so in an order of no meaning.
    typedef std::map<krobase::utility::ImmutableString, U_StateFactory> StateFactories;

    void CallStates(void (U_State::*hook)());

    States mStates; // as the constructor filled it
    std::atomic<U_i64> mActiveCount{0};
    U_i64 mContextID;
    // Written by the thread that owns the context at the moment. Whoever hands it
    // over orders the two threads; the rest only reads it as a mark.
    std::atomic<U_u32> mThreadID;

    static std::atomic<U_i64> S_ctxt_id;
    static StateFactories& S_states_factory;
};

// Activates a context until the scope ends, on the thread of the scope.
class U_EXPORT U_ContextSetter : private boost::noncopyable
{
public:
    // Activates the thread's context once more; without one it fails as GetCurrent
    // does. The second takes the thread's for null. Both throw what
    // U_Context::Activate throws.
    U_ContextSetter();
    explicit U_ContextSetter(const boost::shared_ptr<U_Context>& context);

    // What a state throws is reported and goes no further.
    virtual ~U_ContextSetter();

    U_Context* operator->() const { return mContext.get(); }

private:
    const boost::shared_ptr<U_Context> mContext;
};

// The same for a thread that has no context, without keeping this one alive. On a
// thread that has one, or for null, it does nothing.
class U_EXPORT U_WeakContextSetter : private boost::noncopyable
{
public:
    explicit U_WeakContextSetter(const boost::shared_ptr<U_Context>& context);
    virtual ~U_WeakContextSetter();

private:
    boost::weak_ptr<U_Context> mContext; // empty if it did nothing
};

#endif
