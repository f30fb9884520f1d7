// Shared by the benchmarks of growth, bench_growth and bench_alive, for scripts/plots.
//
// The names of the benchmarks are Growth/PLOT/SERIES/NUMBER.

#pragma once

#include <cstddef>
#include <cstdlib>
#include <string>

#include <benchmark/benchmark.h>
#include <platform/control.h>

#include "U_Alloc.h"
#include "U_Encoding.h"
#include "U_Hog.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_ZString.h"

const U_u32 kLocation = 0x120034;

inline int Number(const benchmark::State& state)
{
    return static_cast<int>(state.range(0));
}

// A born library whose messages are posted and shown nowhere.
class Library
{
public:
    // `wanted`: as for Up_SetInteract. `image`: a dictionary; null means English texts.
    explicit Library(U_u32 wanted = 0xFFFFFFFF, std::string* image = nullptr)
    {
        platform::SetAlertPresenter([](const platform::Alert&) {});
        platform::SetLogSink([](int, const char*, const char*, const char*) {});
        U_Birth("growth", nullptr);
        if (image && U_ZStringSetCurrentDictionary(reinterpret_cast<U_u16*>(image->data()),
                                                   image->size()) != 0)
            std::abort();
        if (!image)
            U_ZStringSetEnglish();
        U_IncrementPostErrors();
        Up_SetInteract(wanted);
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

inline U_u32 RegisterHog(int number)
{
    U_u32 id = 0;
    U_RegisterHog(("hog " + std::to_string(number)).c_str(), &id);
    return id;
}

template <std::size_t size> void Allocate()
{
    void* const block = U_AllocatePtrQuiet(size);
    benchmark::DoNotOptimize(block);
    U_FreePtr(block);
}
