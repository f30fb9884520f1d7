// Allocations of the calling thread that fail on purpose.

#ifndef TESTS_SUPPORT_FAILINGNEW_H
#define TESTS_SUPPORT_FAILINGNEW_H

// Makes the nth operator new from now on throw std::bad_alloc, counted from 1,
// until the scope ends. A new handler is called first, and then it succeeds: so a
// test can do something in the middle of a call.
class ScFailingNew
{
public:
    explicit ScFailingNew(long nth);
    ~ScFailingNew();
    ScFailingNew(const ScFailingNew&) = delete;
    ScFailingNew& operator=(const ScFailingNew&) = delete;

    // Whether it has come to that.
    bool HasFailed() const;
};

// Runs body with each of its allocations failing in turn, and check after each
// run, until it gets through without. Returns how many points failed.
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
