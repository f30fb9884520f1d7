// The cost of calls while other threads, which have used the library, wait.

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <sched.h>

#include <benchmark/benchmark.h>
#include <krobase/executor.h>
#include <win32/message_queue.h>
#include <win32/threads.h>

#include "U_AnyTree.h"
#include "U_Context.h"
#include "U_Format.h"
#include "U_Suspend.h"
#include "U_XML.h"
#include "growth.h"

namespace
{
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

void ReportWarning()
{
    U_ReportError(kLocation, U_Sev_WARNING, U_UTF16String(1, 'x'));
}

// `wanted`: as for Up_SetInteract.
template <void use(), U_u32 wanted = 0xFFFFFFFF> void BesideThreads(benchmark::State& state)
{
    const Library library(wanted);
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

void ReadTree()
{
    static const U_UTF16String sText =
        U_AsciiToUTF16String(R"({"files":12,"scale":0.5,"open":true})");
    U_AnyTree tree;
    U_AnyTreeWrapper(tree).SetFrom_JSON(sText);
    benchmark::DoNotOptimize(&tree);
}

void FillMessage()
{
    static const U_UTF16String sFormat = U_AsciiToUTF16String("^1 took ^F2 seconds.");
    static const U_UTF16String sName = U_AsciiToUTF16String("Interview");
    U_UTF16String out;
    U_SubString(out, sFormat, sName.c_str(), 12.5);
    benchmark::DoNotOptimize(out.data());
}

void WriteNumber()
{
    char out[32];
    U_FormatNum(1234567.25, krobase::utility::kNumberGroup, 1, 2, out);
    benchmark::DoNotOptimize(out);
}

void Escape()
{
    static const U_UTF8String sText(100, '<');
    benchmark::DoNotOptimize(U_EscapeBodyTextToSafeXML(sText, false, false).data());
}

void WriteHex()
{
    static const unsigned char sBytes[100] = {};
    benchmark::DoNotOptimize(U_BinaryDataToUTF8String(sizeof(sBytes), sBytes).data());
}

// The texts of a program in one image, and their keys.
struct Catalogue
{
    Catalogue()
    {
        std::ifstream image(BENCH_CATALOGUE "/catalogue.zdict", std::ios::binary);
        mImage.assign(std::istreambuf_iterator<char>(image), {});
        std::ifstream texts(BENCH_CATALOGUE "/texts.txt");
        for (std::string line; std::getline(texts, line);) // "$$$/QX/Name=Text"
            mKeys.push_back(line.substr(1, line.find('=')));
        if (mKeys.empty())
            std::abort();
    }

    std::string mImage;
    std::vector<std::string> mKeys; // with the "=", without a text in English
};

const Catalogue& TheCatalogue()
{
    static const Catalogue sCatalogue;
    return sCatalogue;
}

void LookUpKey(std::size_t number)
{
    const std::vector<std::string>& keys = TheCatalogue().mKeys;
    benchmark::DoNotOptimize(U_ZStringToUTF16String(keys[number % keys.size()].c_str()));
}

void LookUpBesideThreads(benchmark::State& state)
{
    std::string image = TheCatalogue().mImage;
    const Library library(0xFFFFFFFF, &image);
    for (const std::string& key : TheCatalogue().mKeys)
    {
        if (U_ZStringToUTF16String(key.c_str()).empty())
            state.SkipWithError("not in the dictionary");
    }
    const WaitingThreads threads(Number(state) - 1, [] { LookUpKey(0); });
    std::size_t next = 0;
    for (auto _ : state)
        LookUpKey(next++);
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
BENCHMARK_TEMPLATE(BesideThreads, ReportWarning, 0)->Name("Growth/alive/unwanted report")->THREADS;
BENCHMARK_TEMPLATE(BesideThreads, ReportWarning, U_u32(U_Sev_WARNING) << 16)
    ->Name("Growth/alive/logged report")
    ->THREADS;
BENCHMARK_TEMPLATE(BesideThreads, UseContext)->Name("Growth/alive/context")->THREADS;

#define IN_CONTEXT(use, name)                                                                      \
    BENCHMARK_TEMPLATE(InContextBesideThreads, use)->Name("Growth/alive-values/" name)->THREADS
IN_CONTEXT(NestSetter, "nested setter");
IN_CONTEXT(CheckAbort, "abort check");
IN_CONTEXT(Convert, "100 units from UTF-8");
IN_CONTEXT(WriteTree, "small tree as JSON");
IN_CONTEXT(ReadTree, "small tree from JSON");
IN_CONTEXT(FillMessage, "filled message");
IN_CONTEXT(WriteNumber, "grouped number");
IN_CONTEXT(Escape, "100 units escaped");
IN_CONTEXT(WriteHex, "100 bytes as digits");
BENCHMARK(LookUpBesideThreads)->Name("Growth/alive-values/look-up in a dictionary")->THREADS;

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
