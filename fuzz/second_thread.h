// A thread that stays for all inputs of a process, since a new thread for each input costs more
// than the input.

#ifndef FUZZ_SECOND_THREAD_H
#define FUZZ_SECOND_THREAD_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

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
    void RunBoth(const std::function<void()>& own, const std::function<void()>& theirs)
    {
        Hand(theirs, false);
        own();
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

    void Serve()
    {
        std::unique_lock<std::mutex> lock(mLock);
        for (;;)
        {
            mChanged.wait(lock, [this] { return mTask || mEnds; });
            if (mEnds)
                return;
            lock.unlock();
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
    std::thread mThread; // last, so that the thread finds the others
};

#endif
