// How the cost of contexts, hogs, memory managers and posted messages grows with their number.

#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/make_shared.hpp>
#include <krobase/guid.h>

#include "U_Context.h"
#include "U_MemServices.h"
#include "growth.h"

namespace
{
typedef krobase::utility::ImmutableString Key;

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
} // namespace

BENCHMARK_MAIN();
