// Tests on several threads at once.

#ifndef TESTS_SUPPORT_ON_THREADS_H
#define TESTS_SUPPORT_ON_THREADS_H

#include <thread>
#include <vector>

// Runs body on so many threads at once, each with its number from 0, and waits for
// all of them.
template <class Body> void OnThreads(int count, Body body)
{
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number)
        threads.emplace_back([&body, number] { body(number); });
    for (std::thread& thread : threads)
        thread.join();
}

#endif
