// Bodies of tests on threads of their own.

#ifndef TESTS_SUPPORT_ON_THREADS_H
#define TESTS_SUPPORT_ON_THREADS_H

#include <thread>
#include <vector>

// Runs body on `count` threads at once, each with its number from 0, and waits until all have
// ended.
template <class Body> void OnThreads(int count, Body body)
{
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number)
        threads.emplace_back([&body, number] { body(number); });
    for (std::thread& thread : threads)
        thread.join();
}

// Runs body on a thread that the library has not seen yet, and waits until the thread has
// ended.
template <class Body> void OnFreshThread(Body body)
{
    std::thread(body).join();
}

#endif
