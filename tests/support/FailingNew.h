// Failures of operator new on the calling thread.

#ifndef TESTS_SUPPORT_FAILINGNEW_H
#define TESTS_SUPPORT_FAILINGNEW_H

// Makes the nth operator new from now on throw std::bad_alloc, counted from 1, until the scope
// ends. If there is a new handler, operator new calls the handler instead and then succeeds, so
// that a test can act in the middle of a call.
class ScFailingNew
{
public:
    explicit ScFailingNew(long nth);
    ~ScFailingNew();
    ScFailingNew(const ScFailingNew&) = delete;
    ScFailingNew& operator=(const ScFailingNew&) = delete;

    // Returns true if the nth operator new has failed.
    bool HasFailed() const;
};

// Calls body once for each of its allocations, which fails then, and check(nth) after each
// call, until a call of body needs no more allocations. Returns the count of failures.
template <class Body, class Check> long FailEachNew(Body body, Check check)
{
    for (long nth = 1;; ++nth)
    {
        bool failed = false;
        {
            const ScFailingNew failing(nth);
            body();
            failed = failing.HasFailed();
        }
        check(nth);
        if (!failed)
            return nth - 1;
    }
}

#endif
