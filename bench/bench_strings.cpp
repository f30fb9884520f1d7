// Look-up of the library's own texts.
//
// The floor is one increment of a counter that all threads share, which is the cost of
// returning a reference-counted string.

#include <atomic>
#include <cstring>

#include <benchmark/benchmark.h>

#include "U_Lifecycle.h"
#include "U_Report.h"
#include "U_ZString.h"

namespace
{
const U_u32 kOutOfMemory = 33; // index of the text

alignas(128) std::atomic<unsigned> sSharedCounter(0);

void SharedCounter(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(sSharedCounter.fetch_add(1, std::memory_order_relaxed));
}

// The text has been looked up before.
void LookUp(benchmark::State& state)
{
    if (std::strcmp(Up_String(kOutOfMemory), "Out of memory.") != 0)
        state.SkipWithError("the wrong text");
    U_u32 index = kOutOfMemory;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(index);
        benchmark::DoNotOptimize(Up_String(index));
    }
}

// Before a language is chosen.
void UpStringEarly(benchmark::State& state)
{
    U_Birth("bench_strings", nullptr);
    LookUp(state);
    U_Death();
}

void UpString(benchmark::State& state)
{
    U_Birth("bench_strings", nullptr);
    U_ZStringSetEnglish();
    LookUp(state);
    U_Death();
}
} // namespace

BENCHMARK(SharedCounter);
BENCHMARK(UpStringEarly);
BENCHMARK(UpString);

BENCHMARK_MAIN();
