#include <atomic>
#include <chrono>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <new>
#include <stdexcept>

#include <boost/make_shared.hpp>

#include <platform/base/locks.h>
#include <platform/base/thread_local.h>
#include <win32/message_queue.h>
#include <win32/threads.h>

#include "executor.h"

namespace krobase
{
namespace threads
{
namespace
{
typedef boost::function<void()> Function;
typedef std::chrono::steady_clock Clock;
typedef std::map<unsigned long long, Function> Delayed; // by timer

// The functions of one adaptor. The window has one message in its queue for each function that
// may run, and one timer for each delayed function.
class Loop : private boost::noncopyable
{
public:
    explicit Loop(void* window) : mWindow(window) {}

    // The copy of the function, and its destruction after a failure, are outside the lock.
    void Post(const Function& function)
    {
        std::list<Function> posted{function};
        const platform::ScLock lock(mLock);
        mReady.splice(mReady.end(), posted);
        if (win32::PostMessageW(mWindow, win32::kWmUser, 0, 0))
            return;
        posted.splice(posted.end(), mReady, std::prev(mReady.end()));
        if (win32::IsWindow(mWindow))
            throw std::bad_alloc();
        throw std::runtime_error("the thread of the event loop has ended");
    }

    void RunNext()
    {
        std::list<Function> next;
        {
            const platform::ScLock lock(mLock);
            if (mReady.empty())
                return;
            next.splice(next.end(), mReady, mReady.begin());
        }
        next.front()();
    }

    // The functions below run on the loop's thread only.

    // Moves the only node of `delayed`, so the function cannot be lost without memory. If the
    // system refuses a timer, the function runs now.
    void Delay(Delayed& delayed, Clock::time_point due)
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - Clock::now());
        const unsigned int interval =
            left.count() > 0 ? static_cast<unsigned int>(left.count()) : 0;
        const unsigned long long timer = ++mLastTimer;
        auto node = delayed.extract(delayed.begin());
        node.key() = timer;
        mDelayed.insert(std::move(node));
        if (!win32::SetTimer(mWindow, timer, interval, nullptr))
            RunDelayed(timer);
    }

    void RunDelayed(unsigned long long timer)
    {
        const auto node = mDelayed.extract(timer);
        win32::KillTimer(mWindow, timer);
        if (node)
            node.mapped()();
    }

private:
    void* const mWindow;
    platform::Mutex mLock;
    std::list<Function> mReady PLATFORM_GUARDED_BY(mLock);
    Delayed mDelayed;
    unsigned long long mLastTimer = 0;
};

typedef std::map<void*, std::weak_ptr<Loop>> Loops; // by window

// Never destroyed: threads end until the process does.
platform::Mutex sLoopsLock;
Loops& sLoops PLATFORM_GUARDED_BY(sLoopsLock) = *new Loops;

std::shared_ptr<Loop> FindLoop(void* window)
{
    const platform::ScLock lock(sLoopsLock);
    const auto found = sLoops.find(window);
    return found != sLoops.end() ? found->second.lock() : nullptr;
}

long long LoopProcedure(void* window, unsigned int message, unsigned long long wParam,
                        long long lParam)
{
    const std::shared_ptr<Loop> loop = FindLoop(window);
    if (loop && message == win32::kWmUser)
        loop->RunNext();
    else if (loop && message == win32::kWmTimer)
        loop->RunDelayed(wParam);
    else
        return win32::DefWindowProcW(window, message, wParam, lParam);
    return 0;
}

void* MakeWindow()
{
    const unsigned short kClassName[] = {'E', 'v', 'e', 'n', 't', 'L', 'o', 'o', 'p', 0};
    const win32::WNDCLASSW windowClass = {&LoopProcedure, kClassName};
    win32::RegisterClassW(&windowClass); // fails after the first call: the name is taken
    void* const window =
        win32::CreateWindowExW(0, kClassName, kClassName, 0, 0, 0, 0, 0, win32::MessageOnlyParent(),
                               nullptr, nullptr, nullptr);
    if (!window)
        throw std::bad_alloc();
    return window;
}

// The thread's number, 0 until the thread makes an adaptor. The system's thread id is no
// alternative: a later thread may have the same id.
PLATFORM_THREAD_LOCAL(unsigned long long, tThread);
std::atomic<unsigned long long> sThreads(0);

unsigned long long ThisThread()
{
    if (!tThread)
        tThread = ++sThreads;
    return tThread;
}

class EventLoopAdaptor : public AsyncEventLoopAdaptor
{
public:
    EventLoopAdaptor()
    {
        const platform::ScLock lock(sLoopsLock);
        sLoops[mWindow.get()] = mLoop;
    }

    ~EventLoopAdaptor() override
    {
        {
            const platform::ScLock lock(sLoopsLock);
            sLoops.erase(mWindow.get());
        }
        // Only the thread of a window may destroy the window.
        if (!IsOwnThread())
            win32::PostMessageW(mWindow.release(), win32::kWmClose, 0, 0);
    }

    bool IsExecutorThread() const override { return IsOwnThread(); }

    void Post(const Function& function, int delay) override
    {
        if (delay <= 0)
            return mLoop->Post(function);
        // The loop itself calls the function, so the pointer is valid then.
        Loop* const loop = mLoop.get();
        const auto due = Clock::now() + std::chrono::milliseconds(delay);
        const auto delayed = std::make_shared<Delayed>();
        delayed->emplace(0, function);
        mLoop->Post([loop, delayed, due] { loop->Delay(*delayed, due); });
    }

private:
    bool IsOwnThread() const { return mThread == tThread; }

    const unsigned long long mThread = ThisThread();
    std::unique_ptr<void, void (*)(void*)> mWindow{
        MakeWindow(), [](void* window) { win32::DestroyWindow(window); }};
    const std::shared_ptr<Loop> mLoop = std::make_shared<Loop>(mWindow.get());
};
} // namespace

AsyncEventLoopAdaptor::~AsyncEventLoopAdaptor() = default;

boost::shared_ptr<AsyncEventLoopAdaptor> CreateAsyncEventLoopAdaptor()
{
    return boost::make_shared<EventLoopAdaptor>();
}
} // namespace threads
} // namespace krobase
