#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include <win32/exceptions.h>
#include <win32/threads.h>

#include "executor.h"
#include "private/work_queue.h"
#include "threads.h"

namespace krobase
{
namespace threads
{
namespace
{
typedef WorkQueue::Function Function;

struct ThreadSetUp
{
    std::string mName;
    int mPriority; // the system's
    Function mAtStart;
    Function mAtEnd;
};

int SystemPriority(ThreadPriority priority)
{
    switch (priority)
    {
    case kThreadPriorityIdle:
        return win32::kThreadPriorityIdle;
    case kThreadPriorityTimeCritical:
        return win32::kThreadPriorityTimeCritical;
    default:
        return win32::kThreadPriorityNormal + (priority - kThreadPriorityNormal);
    }
}

void RunThread(const ThreadSetUp& setUp, const std::shared_ptr<WorkQueue>& queue)
{
    SetCurrentThreadName(setUp.mName.c_str());
    unsigned int stack = win32::kLargestStackGuarantee;
    win32::SetThreadStackGuarantee(&stack); // without memory the thread goes without
    if (setUp.mPriority != win32::kThreadPriorityNormal)
        win32::SetThreadPriority(win32::GetCurrentThread(), setUp.mPriority);
    queue->Run(setUp.mAtStart, setUp.mAtEnd);
}

class ThreadedExecutor : public AsyncThreadedExecutor
{
public:
    ~ThreadedExecutor() override
    {
        try
        {
            End();
        }
        catch (...)
        {
            // A thread that can't be waited for is left to itself, with the queue.
        }
    }

    void Start(const ThreadSetUp& setUp, int threadCount,
               const boost::thread::attributes& attributes)
    {
        mThreads.reserve(static_cast<std::size_t>(threadCount));
        for (int i = 0; i < threadCount; ++i)
        {
            const std::shared_ptr<WorkQueue> queue = mQueue;
            // They are only read there, and a copy would share what they own.
            mThreads.emplace_back(const_cast<boost::thread::attributes&>(attributes),
                                  [setUp, queue] { RunThread(setUp, queue); });
        }
    }

    bool IsExecutorThread() const override { return mQueue->RunsHere(); }

    void Post(const Function& function, int delay) override { mQueue->Post(function, delay); }

private:
    void End()
    {
        const boost::this_thread::disable_interruption uninterrupted;
        mQueue->Close();
        for (boost::thread& thread : mThreads)
        {
            // The queue lives on with a thread that lets go of its own executor.
            if (thread.get_id() == boost::this_thread::get_id())
                thread.detach();
            else
                thread.join();
        }
    }

    const std::shared_ptr<WorkQueue> mQueue = std::make_shared<WorkQueue>();
    std::vector<boost::thread> mThreads;
};
} // namespace

AsyncExecutor::~AsyncExecutor() = default;
AsyncThreadedExecutor::~AsyncThreadedExecutor() = default;

boost::shared_ptr<AsyncThreadedExecutor>
CreateAsyncThreadedExecutor(const char* name, int threadCount, ThreadPriority priority,
                            const Function& atStart, const Function& atEnd,
                            const boost::thread::attributes& attributes)
{
    if (threadCount < 1)
        throw std::invalid_argument("an executor needs at least one thread");
    const boost::shared_ptr<ThreadedExecutor> executor = boost::make_shared<ThreadedExecutor>();
    executor->Start({name ? name : "", SystemPriority(priority), atStart, atEnd}, threadCount,
                    attributes);
    return executor;
}
} // namespace threads
} // namespace krobase
