// A body of a test on a thread that the library hasn't seen yet.

#ifndef TESTS_SUPPORT_FRESHTHREAD_H
#define TESTS_SUPPORT_FRESHTHREAD_H

#include <thread>

// Returns when the body has ended, and its thread too.
template <class Body> void OnFreshThread(Body body)
{
    std::thread(body).join();
}

#endif
