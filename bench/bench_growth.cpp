// How the cost of other paths grows: for scripts/plots, which draws the series of each plot.
//
// The names are Growth/PLOT/SERIES/NUMBER.

#include <atomic>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sched.h>

#include <benchmark/benchmark.h>
#include <boost/make_shared.hpp>

#include <krobase/executor.h>
#include <krobase/guid.h>
#include <platform/control.h>
#include <win32/message_queue.h>
#include <win32/threads.h>

#include "U_Alloc.h"
#include "U_AnyTree.h"
#include "U_Context.h"
#include "U_Encoding.h"
#include "U_Hog.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_MemServices.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Suspend.h"
#include "U_ZString.h"

namespace
{
typedef krobase::utility::ImmutableString Key;

const U_u32 kLocation = 0x120034;

int Number(const benchmark::State& state)
{
    return static_cast<int>(state.range(0));
}

// A born library whose messages are posted and shown nowhere.
class Library
{
public:
    Library()
    {
        platform::SetAlertPresenter([](const platform::Alert&) {});
        platform::SetLogSink([](int, const char*, const char*, const char*) {});
        U_Birth("bench_growth", nullptr);
        U_ZStringSetEnglish();
        U_IncrementPostErrors();
        Up_SetInteract(0xFFFFFFFF);
    }
    ~Library()
    {
        U_DisplayPostedErrors();
        U_Death();
        platform::ResetAll();
    }

    void Post(int number) const
    {
        U_ReportError(kLocation, U_Sev_INFO,
                      mText + U_AsciiToUTF16String(std::to_string(number).c_str()));
    }

private:
    const U_UTF16String mText = U_AsciiToUTF16String("The file can't be read: ");
};

class State : public U_State
{
public:
    State(U_Context* context, const Key& key) : U_State(context), mKey(key) {}
    Key GetKey() const override { return mKey; }
    void OnActivate() override {}
    void OnDeactivate() override {}

private:
    const Key mKey;
};

// Registers states for a scope.
class States
{
public:
    explicit States(int count)
    {
        for (int i = 0; i < count; ++i)
        {
            const Key key(("state " + std::to_string(i)).c_str());
            mKeys.push_back(key);
            U_Context::RegisterState(
                key, [key](U_Context* context) { return boost::make_shared<State>(context, key); });
        }
    }
    ~States()
    {
        for (const Key& key : mKeys)
            U_Context::UnregisterState(key);
    }

private:
    std::vector<Key> mKeys;
};

void MakeContext(benchmark::State& state)
{
    const Library library;
    const States states(Number(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(U_Context::MakeNewContext().get());
}

void ActivateContext(benchmark::State& state)
{
    const Library library;
    const States states(Number(state));
    const boost::shared_ptr<U_Context> context = U_Context::MakeNewContext();
    for (auto _ : state)
        const U_ContextSetter setter(context);
}

void MakeContextAmong(benchmark::State& state)
{
    const Library library;
    const States states(4);
    std::vector<boost::shared_ptr<U_Context>> others;
    for (int i = 0; i < Number(state); ++i)
        others.push_back(U_Context::MakeNewContext());
    for (auto _ : state)
        benchmark::DoNotOptimize(U_Context::MakeNewContext().get());
}

void ActivateContextAmong(benchmark::State& state)
{
    const Library library;
    std::vector<boost::shared_ptr<U_Context>> contexts;
    for (int i = 0; i < Number(state); ++i)
        contexts.push_back(U_Context::MakeNewContext());
    std::size_t next = 0;
    for (auto _ : state)
        const U_ContextSetter setter(contexts[next++ % contexts.size()]);
}

U_u32 RegisterHog(int number)
{
    U_u32 id = 0;
    U_RegisterHog(("hog " + std::to_string(number)).c_str(), &id);
    return id;
}

std::vector<U_u32> RegisterHogs(benchmark::State& state)
{
    std::vector<U_u32> hogs;
    for (int i = 0; i < Number(state); ++i)
        hogs.push_back(RegisterHog(i));
    if (!hogs.back())
        state.SkipWithError("not registered");
    return hogs;
}

void FindHog(benchmark::State& state)
{
    const Library library;
    RegisterHogs(state);
    int next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(RegisterHog(next++ % Number(state)));
}

void UseHog(benchmark::State& state)
{
    const Library library;
    const std::vector<U_u32> hogs = RegisterHogs(state);
    std::size_t next = 0;
    for (auto _ : state)
    {
        void** handle = nullptr;
        U_NewHogHandle(hogs[next++ % hogs.size()], kLocation, "block", 64, 0, &handle);
        U_FreeHogHandle(handle);
    }
}

// Installs memory managers for a scope.
class Managers
{
public:
    explicit Managers(int count) : mCount(count)
    {
        for (int i = 0; i < mCount; ++i)
            U_InstallExternalMemoryManager(IdOf(i), [] { return std::size_t(1); });
    }
    ~Managers()
    {
        for (int i = 0; i < mCount; ++i)
            U_UnInstallExternalMemoryManager(IdOf(i));
    }

    static krobase::utility::Guid IdOf(int number)
    {
        krobase::utility::Guid id;
        id.mBytes[0] = static_cast<unsigned char>(number);
        id.mBytes[1] = static_cast<unsigned char>(number >> 8);
        return id;
    }

private:
    const int mCount;
};

void SumOfManagers(benchmark::State& state)
{
    const Library library;
    const Managers managers(Number(state));
    if (U_GetSizeOfExternalMemoryManagers() != static_cast<std::size_t>(Number(state)))
        state.SkipWithError("not installed");
    for (auto _ : state)
        benchmark::DoNotOptimize(U_GetSizeOfExternalMemoryManagers());
}

void InstallManager(benchmark::State& state)
{
    const Library library;
    const Managers managers(Number(state));
    for (auto _ : state)
    {
        U_InstallExternalMemoryManager(Managers::IdOf(0xFFFF), [] { return std::size_t(1); });
        U_UnInstallExternalMemoryManager(Managers::IdOf(0xFFFF));
    }
}

template <std::size_t size> void Allocate()
{
    void* const block = U_AllocatePtrQuiet(size);
    benchmark::DoNotOptimize(block);
    U_FreePtr(block);
}

template <std::size_t size> void AllocateBesideManagers(benchmark::State& state)
{
    const Library library;
    const Managers managers(Number(state));
    for (auto _ : state)
        Allocate<size>();
}

// Posts messages and displays them. The time of one message is measured.
void PostAndDisplay(benchmark::State& state)
{
    const Library library;
    const int count = Number(state);
    while (state.KeepRunningBatch(count))
    {
        for (int i = 0; i < count; ++i)
            library.Post(i);
        U_DisplayPostedErrors();
    }
}

std::unique_ptr<U_ContextSetter> MakeSetter()
{
    return std::make_unique<U_ContextSetter>(U_Context::MakeNewContext());
}

// Threads that have used the library and wait.
class WaitingThreads
{
public:
    // `inContext`: each thread has a current context of its own.
    WaitingThreads(int count, void (*use)(), bool inContext = false)
    {
        std::atomic<int> ready(0);
        for (int i = 0; i < count; ++i)
            mThreads.emplace_back([this, use, inContext, &ready] {
                const auto setter = inContext ? MakeSetter() : nullptr;
                use();
                ++ready;
                std::unique_lock<std::mutex> lock(mLock);
                mEnd.wait(lock, [this] { return mEnds; });
            });
        while (ready != count)
            std::this_thread::yield();
    }
    ~WaitingThreads()
    {
        {
            const std::lock_guard<std::mutex> lock(mLock);
            mEnds = true;
        }
        mEnd.notify_all();
        for (std::thread& thread : mThreads)
            thread.join();
    }

private:
    std::mutex mLock; // guards mEnds
    std::condition_variable mEnd;
    bool mEnds = false;
    std::vector<std::thread> mThreads;
};

void UseHandle()
{
    void** const block = U_AllocateHandleQuiet(64);
    benchmark::DoNotOptimize(block);
    U_FreeHandle(block);
}

void UseNamed()
{
    void* const block = U_AllocatePtr(kLocation, "decoded tile", 64);
    benchmark::DoNotOptimize(block);
    U_FreePtr(block);
}

void UseRecycled()
{
    void* const block = U_AllocateRecycledPtr(kLocation, nullptr, 4096);
    benchmark::DoNotOptimize(block);
    U_FreeRecycledPtr(block);
}

U_u32 sHog = 0; // of the library's present life

void UseHogHandle()
{
    void** handle = nullptr;
    U_NewHogHandle(sHog, kLocation, "block", 64, 0, &handle);
    U_FreeHogHandle(handle);
}

void Report()
{
    U_ReportError(kLocation, U_Sev_INFO, U_UTF16String(1, 'x'));
}

void LookUp()
{
    benchmark::DoNotOptimize(U_ZStringToUTF16String("$$$/QX/U/qx_err_msg_order=@0@1"));
}

void UseContext()
{
    const U_ContextSetter setter(U_Context::MakeNewContext());
}

template <void use()> void BesideThreads(benchmark::State& state)
{
    const Library library;
    sHog = RegisterHog(0);
    const WaitingThreads threads(Number(state) - 1, use);
    int used = 0;
    for (auto _ : state)
    {
        use();
        if (++used % 1000)
            continue;
        state.PauseTiming();
        U_DisplayPostedErrors();
        state.ResumeTiming();
    }
}

// Each function below is called with a current context, on the measured and on the other threads.

void NestSetter()
{
    const U_ContextSetter setter(U_Context::GetCurrent());
}

void CheckAbort()
{
    benchmark::DoNotOptimize(U_Context::CheckAbortAndFlushCompletionRoutines());
}

void Convert()
{
    static const U_UTF8String sText(100, 'x');
    benchmark::DoNotOptimize(U_UTF8To16String(sText).data());
}

void WriteTree()
{
    U_AnyTree tree;
    U_AnyTreeWrapper wrapper(tree);
    wrapper.put("files", 12);
    wrapper.put("scale", 0.5);
    wrapper.put("open", true);
    benchmark::DoNotOptimize(wrapper.GetAs_JSON().data());
}

template <void use()> void InContextBesideThreads(benchmark::State& state)
{
    const Library library;
    const WaitingThreads threads(Number(state) - 1, use, true);
    const auto setter = MakeSetter();
    for (auto _ : state)
        use();
}

typedef boost::shared_ptr<krobase::threads::AsyncThreadedExecutor> Executor;
typedef boost::shared_ptr<krobase::threads::AsyncEventLoopAdaptor> Adaptor;

// A thread that dispatches its messages.
class EventLoop
{
public:
    EventLoop()
    {
        std::promise<void> ready;
        mThread = std::thread([this, &ready] {
            mAdaptor = krobase::threads::CreateAsyncEventLoopAdaptor();
            ready.set_value();
            win32::MSG message;
            while (win32::GetMessageW(&message, nullptr, 0, 0) > 0)
                win32::DispatchMessageW(&message);
        });
        ready.get_future().wait();
    }
    ~EventLoop()
    {
        mAdaptor->Post(
            [] { win32::PostThreadMessageW(win32::GetCurrentThreadId(), win32::kWmQuit, 0, 0); },
            0);
        mThread.join();
    }

    Adaptor mAdaptor;

private:
    std::thread mThread;
};

Executor sExecutor; // of the benchmark that runs, as the adaptor
Adaptor sAdaptor;

int Call(const Executor& executor)
{
    return U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(executor,
                                                                         [] { return 7; });
}

int Call(const Adaptor& adaptor)
{
    return U_SuspendContext::NewSuspendContext()->CallOnEventLoopAdaptorExecutor(adaptor,
                                                                                 [] { return 7; });
}

template <class Target> int PostAndWait(const Target& target)
{
    const auto result = std::make_shared<std::promise<int>>();
    target->Post([result] { result->set_value(7); }, 0);
    return result->get_future().get();
}

void CallExecutor()
{
    benchmark::DoNotOptimize(Call(sExecutor));
}

void CallEventLoop()
{
    benchmark::DoNotOptimize(Call(sAdaptor));
}

void PostToExecutor()
{
    benchmark::DoNotOptimize(PostAndWait(sExecutor));
}

void PostToEventLoop()
{
    benchmark::DoNotOptimize(PostAndWait(sAdaptor));
}

// Keeps the calling thread, and the threads that it starts, on one core for a scope.
class OneCore
{
public:
    OneCore()
    {
        sched_getaffinity(0, sizeof(mBefore), &mBefore);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
        sched_setaffinity(0, sizeof(one), &one);
    }
    ~OneCore() { sched_setaffinity(0, sizeof(mBefore), &mBefore); }
    OneCore(const OneCore&) = delete;
    OneCore& operator=(const OneCore&) = delete;

private:
    cpu_set_t mBefore;
};

// The processor time of the process is measured: both threads work for a call. They share a core,
// since the time to wake another core differs by a factor of 8.
template <void use()> void CallBesideThreads(benchmark::State& state)
{
    const OneCore core;
    const Library library;
    EventLoop loop;
    sAdaptor = loop.mAdaptor;
    sExecutor = krobase::threads::CreateAsyncThreadedExecutor(
        "bench", 1, krobase::threads::kThreadPriorityNormal, {}, {});
    {
        const WaitingThreads threads(Number(state) - 1, use, true);
        const auto setter = MakeSetter();
        if (Call(sExecutor) != 7 || Call(sAdaptor) != 7 || PostAndWait(sExecutor) != 7 ||
            PostAndWait(sAdaptor) != 7)
            state.SkipWithError("another result");
        for (auto _ : state)
            use();
    }
    sExecutor.reset();
    sAdaptor.reset();
}

#define STATES Arg(0)->Arg(10)->Arg(100)->Arg(300)->Arg(1000)
BENCHMARK(MakeContext)->Name("Growth/states/make and end a context")->STATES;
BENCHMARK(ActivateContext)->Name("Growth/states/activate and deactivate")->STATES;

#define CONTEXTS RangeMultiplier(10)->Range(10, 100000)
BENCHMARK(MakeContextAmong)->Name("Growth/contexts/make and end a context of 4 states")->CONTEXTS;
BENCHMARK(ActivateContextAmong)->Name("Growth/contexts/activate and deactivate")->CONTEXTS;

#define HOGS Arg(10)->Arg(100)->Arg(1000)->Arg(4000)
BENCHMARK(FindHog)->Name("Growth/hogs/register a known name")->HOGS;
BENCHMARK(UseHog)->Name("Growth/hogs/allocate and free a handle")->HOGS;

#define MANAGERS Arg(1)->Arg(10)->Arg(100)->Arg(1000)
BENCHMARK(SumOfManagers)->Name("Growth/managers/sum of sizes")->MANAGERS;
BENCHMARK(InstallManager)->Name("Growth/managers/install and uninstall")->MANAGERS;
BENCHMARK_TEMPLATE(AllocateBesideManagers, 4096)
    ->Name("Growth/managers/allocate and free a block of 4 KiB")
    ->MANAGERS;

BENCHMARK(PostAndDisplay)
    ->Name("Growth/posted/post and display")
    ->RangeMultiplier(10)
    ->Range(10, 100000);

#define THREADS RangeMultiplier(2)->Range(1, 64)
BENCHMARK_TEMPLATE(BesideThreads, Allocate<64>)->Name("Growth/alive/block of 64 bytes")->THREADS;
BENCHMARK_TEMPLATE(BesideThreads, Allocate<4096>)->Name("Growth/alive/block of 4 KiB")->THREADS;
BENCHMARK_TEMPLATE(BesideThreads, UseNamed)->Name("Growth/alive/named block of 64 bytes")->THREADS;
BENCHMARK_TEMPLATE(BesideThreads, UseHandle)->Name("Growth/alive/handle of 64 bytes")->THREADS;
BENCHMARK_TEMPLATE(BesideThreads, UseHogHandle)
    ->Name("Growth/alive/hog handle of 64 bytes")
    ->THREADS;
BENCHMARK_TEMPLATE(BesideThreads, UseRecycled)
    ->Name("Growth/alive/recycled block of 4 KiB")
    ->THREADS;
BENCHMARK_TEMPLATE(BesideThreads, LookUp)->Name("Growth/alive/English text of a ZString")->THREADS;
BENCHMARK_TEMPLATE(BesideThreads, Report)->Name("Growth/alive/posted report")->THREADS;
BENCHMARK_TEMPLATE(BesideThreads, UseContext)->Name("Growth/alive/context")->THREADS;

#define IN_CONTEXT(use, name)                                                                      \
    BENCHMARK_TEMPLATE(InContextBesideThreads, use)->Name("Growth/alive-values/" name)->THREADS
IN_CONTEXT(NestSetter, "nested setter");
IN_CONTEXT(CheckAbort, "abort check");
IN_CONTEXT(Convert, "100 units from UTF-8");
IN_CONTEXT(WriteTree, "small tree as JSON");

#define CALLED(use, name)                                                                          \
    BENCHMARK_TEMPLATE(CallBesideThreads, use)                                                     \
        ->Name("Growth/alive-calls/" name)                                                         \
        ->MeasureProcessCPUTime()                                                                  \
        ->THREADS
CALLED(CallExecutor, "suspended call, executor");
CALLED(CallEventLoop, "suspended call, event loop");
CALLED(PostToExecutor, "posted function, executor");
CALLED(PostToEventLoop, "posted function, event loop");
} // namespace

BENCHMARK_MAIN();
