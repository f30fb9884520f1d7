// A call that its thread may leave by a jump.

#ifndef INDEP_CRASH_LIVE_CALL_H
#define INDEP_CRASH_LIVE_CALL_H

#include <unwind.h>

#include <win32/exceptions.h>

// The latest call of one function on one thread. longjmp runs no destructor, so a flag that
// the call sets and clears would stay set after a jump out of the function. IsOnStack looks
// for the frame of the call on the stack instead.
//
// The functions take the thread-local variable of the call, zero at first.
struct LiveCall
{
    // Returns whether the calling thread is within the call. Walks the stack if the call has
    // not returned, which takes about 0.15 microseconds a frame.
    //
    // A damaged stack, or a call of an address without code, can end the walk before the walk
    // has reached the frame of the call or an older one. Then the first result is false, so
    // that a failure after a jump is not lost. The next results are true, so that a function
    // that fails in this way does not call itself without end.
    template <class Variable> static bool IsOnStack(Variable& variable)
    {
        LiveCall call = variable;
        if (!call.mFrame)
            return false;
        Search search = {call, 0, false};
        win32::CallUntilException(&Walk, &search);
        if (search.mIsFound || call.IsOlder(search.mVisited))
            call.mIsUnknown = false;
        else if (!call.mIsUnknown)
            call.mIsUnknown = true;
        else
            return true;
        variable = call;
        return search.mIsFound;
    }

    // Calls the function. REQUIRES: IsOnStack has returned false.
    template <class Variable, class Function>
    static void Make(Variable& variable, Function function)
    {
        Run(variable, function);
        // This also prevents a tail call of Run.
        variable = LiveCall();
    }

    _Unwind_Word mFrame;   // the canonical frame address of Run; 0 if Run has returned
    _Unwind_Word mReturn;  // the address to which Run returns
    bool mIsOnFilterStack; // mFrame is
    bool mIsUnknown;       // the last walk ended too early

private:
    struct Search
    {
        const LiveCall& mCall;
        _Unwind_Word mVisited; // the canonical frame address of the last frame visited
        bool mIsFound;
    };

    template <class Variable, class Function>
    __attribute__((noinline)) static void Run(Variable& variable, Function& function)
    {
        LiveCall call = variable;
        call.mFrame = reinterpret_cast<_Unwind_Word>(__builtin_dwarf_cfa());
        call.mReturn = reinterpret_cast<_Unwind_Word>(__builtin_return_address(0));
        call.mIsOnFilterStack = IsOnFilterStack(call.mFrame);
        variable = call;
        function();
    }

    static bool IsOnFilterStack(_Unwind_Word address)
    {
        return win32::IsOnFilterStack(reinterpret_cast<const void*>(address));
    }

    // Returns whether the frame is older than the call's. Each stack grows down, but either
    // of the two stacks may lie above the other. A filter interrupts the thread, so all frames
    // of the thread's own stack are older than the filter's.
    bool IsOlder(_Unwind_Word visited) const
    {
        if (!visited || mIsOnFilterStack == IsOnFilterStack(visited))
            return visited > mFrame;
        return mIsOnFilterStack;
    }

    static void Walk(void* search) { _Unwind_Backtrace(&Compare, search); }

    // For each frame the unwinder has the stack pointer at the frame's call: the canonical
    // frame address of the function that the frame called.
    static _Unwind_Reason_Code Compare(_Unwind_Context* context, void* data)
    {
        Search& search = *static_cast<Search*>(data);
        search.mVisited = _Unwind_GetCFA(context);
        search.mIsFound = search.mVisited == search.mCall.mFrame &&
                          _Unwind_GetIP(context) == search.mCall.mReturn;
        return search.mIsFound ? _URC_END_OF_STACK : _URC_NO_REASON;
    }
};

#endif
