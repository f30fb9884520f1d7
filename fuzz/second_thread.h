// A thread that stays for all inputs of a process, since a new thread for each input costs more
// than the input.

#ifndef FUZZ_SECOND_THREAD_H
#define FUZZ_SECOND_THREAD_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include <pthread.h>
#include <sched.h>

class SecondThread
{
public:
    SecondThread() : mThread([this] { Serve(); }) {}

    ~SecondThread()
    {
        Hand({}, true);
        mThread.join();
    }

    // Runs `theirs` on the second thread and `own` on the calling thread, and waits for both.
    // Neither begins before the other thread is awake: most bodies are shorter than a change of
    // threads, and would run one after the other.
    void RunBoth(const std::function<void()>& own, const std::function<void()>& theirs)
    {
        mArrived = own ? 0 : 1;
        if (own)
            KeepApart();
        Hand(theirs, false);
        if (own)
        {
            Meet();
            own();
        }
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait(lock, [this] { return !mTask; });
    }

private:
    void Hand(const std::function<void()>& task, bool ends)
    {
        const std::lock_guard<std::mutex> lock(mLock);
        mTask = task;
        mEnds = ends;
        mChanged.notify_all();
    }

    // Waits for the other thread. Other programs may need its processor, so the wait yields, but
    // later than a thread takes to wake: after a yield the two rarely run at once.
    void Meet()
    {
        ++mArrived;
        for (int round = 1; mArrived < 2; ++round)
            if (round % 50000 == 0)
                std::this_thread::yield();
    }

    // The system often wakes a thread on the processor of the calling thread, where the two could
    // not run at once.
    void KeepApart()
    {
        cpu_set_t others;
        CPU_ZERO(&others);
        for (unsigned i = 0; i < std::thread::hardware_concurrency(); ++i)
            CPU_SET(i, &others);
        CPU_CLR(static_cast<unsigned>(sched_getcpu()), &others);
        pthread_setaffinity_np(mThread.native_handle(), sizeof others, &others);
    }

    void Serve()
    {
        std::unique_lock<std::mutex> lock(mLock);
        for (;;)
        {
            mChanged.wait(lock, [this] { return mTask || mEnds; });
            if (mEnds)
                return;
            lock.unlock();
            Meet();
            mTask();
            lock.lock();
            mTask = nullptr;
            mChanged.notify_all();
        }
    }

    std::mutex mLock; // guards mTask and mEnds, except that the second thread runs mTask
    std::condition_variable mChanged;
    std::function<void()> mTask;
    bool mEnds = false;
    std::atomic<int> mArrived{0}; // threads, or 1 if only the second one has a body
    std::thread mThread;          // last, so that the thread finds the others
};

#endif
