// Clocks and fills.
//
// The floor of a clock is one call of the system's clock, which each clock makes. The floor of a
// fill is the standard library's fill of the same bytes, and for a few bytes a loop over them.

#include <algorithm>
#include <cstring>
#include <ctime>
#include <vector>

#include <benchmark/benchmark.h>

#include <U_Lifecycle.h>
#include <U_Machine.h>

namespace
{
const std::size_t kMiB = 1 << 20;

void SystemClock(benchmark::State& state)
{
    timespec now;
    for (auto _ : state)
    {
        clock_gettime(CLOCK_MONOTONIC, &now);
        benchmark::DoNotOptimize(now);
    }
}
BENCHMARK(SystemClock);

template <class Time, U_Status (*read)(Time*)> void Clock(benchmark::State& state)
{
    U_Birth("bench_machine", nullptr);
    Time first = 0;
    Time last = 0;
    read(&first);
    for (auto _ : state)
    {
        read(&last);
        benchmark::DoNotOptimize(last);
    }
    if (first <= 0 || last < first)
        state.SkipWithError("the clock does not advance");
    U_Death();
}
void Seconds(benchmark::State& state)
{
    Clock<double, &U_SecondsSinceBoot>(state);
}
void Milliseconds(benchmark::State& state)
{
    Clock<U_u64, &U_MillisecondsSinceBoot>(state);
}
BENCHMARK(Seconds);
BENCHMARK(Milliseconds);

void FillOurs(U_u16 value, U_i32 count, void* destination)
{
    Up_Memset16(value, count, destination);
}

void FillOurs(U_u32 value, U_i32 count, void* destination)
{
    Up_Memset32(value, count, destination);
}

__attribute__((noinline)) void FillStandard(U_u16 value, U_i32 count, void* destination)
{
    std::fill_n(static_cast<U_u16*>(destination), count, value);
}

__attribute__((noinline)) void FillStandard(U_u32 value, U_i32 count, void* destination)
{
    std::fill_n(static_cast<U_u32*>(destination), count, value);
}

// Fills one byte at a time. The barrier keeps the compiler from replacing the loop.
template <class Value>
__attribute__((noinline)) void FillBytes(Value value, U_i32 count, void* destination)
{
    unsigned char bytes[sizeof(value)];
    std::memcpy(bytes, &value, sizeof(value));
    unsigned char* const out = static_cast<unsigned char*>(destination);
    const std::size_t size = static_cast<std::size_t>(count) * sizeof(value);
    for (std::size_t i = 0; i < size; ++i)
    {
        out[i] = bytes[i % sizeof(value)];
        asm volatile("");
    }
}

template <class Value, void (*fill)(Value, U_i32, void*), std::size_t size, std::size_t offset>
void Fill(benchmark::State& state)
{
    Value value = static_cast<Value>(0x12345678);
    std::vector<unsigned char> room(size + 64);
    unsigned char* const start = room.data() + offset;
    U_i32 count = static_cast<U_i32>(size / sizeof(value));
    fill(value, count, start);
    if (std::memcmp(start, &value, sizeof(value)) != 0 ||
        std::memcmp(start + size - sizeof(value), &value, sizeof(value)) != 0 || start[size] != 0)
        state.SkipWithError("filled otherwise");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(value); // a loop over constant bytes would do other work
        benchmark::DoNotOptimize(count);
        fill(value, count, start);
        benchmark::ClobberMemory();
    }
}
BENCHMARK_TEMPLATE(Fill, U_u16, &FillOurs, kMiB, 0)->Name("Fill16/MiB/ours");
BENCHMARK_TEMPLATE(Fill, U_u16, &FillStandard, kMiB, 0)->Name("Fill16/MiB/std");
BENCHMARK_TEMPLATE(Fill, U_u32, &FillOurs, kMiB, 0)->Name("Fill32/MiB/ours");
BENCHMARK_TEMPLATE(Fill, U_u32, &FillStandard, kMiB, 0)->Name("Fill32/MiB/std");
BENCHMARK_TEMPLATE(Fill, U_u16, &FillOurs, kMiB, 1)->Name("Fill16/odd/ours");
BENCHMARK_TEMPLATE(Fill, U_u16, &FillOurs, 6, 0)->Name("Fill16/6/ours");
BENCHMARK_TEMPLATE(Fill, U_u16, &FillBytes<U_u16>, 6, 0)->Name("Fill16/6/bytes");
BENCHMARK_TEMPLATE(Fill, U_u32, &FillOurs, 8, 0)->Name("Fill32/8/ours");
BENCHMARK_TEMPLATE(Fill, U_u32, &FillBytes<U_u32>, 8, 0)->Name("Fill32/8/bytes");
} // namespace

BENCHMARK_MAIN();
