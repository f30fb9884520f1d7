// Messages, compared with ICU, and numbers, compared with the C library.

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <unicode/msgfmt.h>

#include <U_Format.h>

namespace
{
typedef std::basic_string<char16_t> Text;

const char16_t kMessage[] = u"^1 took ^F3@1.1@ seconds for ^L2 frames.";
const char16_t kPattern[] = u"{0} took {2,number,0.0} seconds for {1} frames.";
const char16_t kFilled[] = u"Interview took 12.5 seconds for 300 frames.";
const char16_t kName[] = u"Interview";
const int kFrames = 300;
const double kSeconds = 12.5;

U_UTF16String Units(const char16_t* text)
{
    const Text whole = text;
    return U_UTF16String(whole.begin(), whole.end());
}

void Message(benchmark::State& state)
{
    const U_UTF16String format = Units(kMessage);
    const U_UTF16String name = Units(kName);
    U_UTF16String out;
    if (U_SubString(out, format, name.c_str(), kFrames, kSeconds) || out != Units(kFilled))
        state.SkipWithError("filled otherwise");
    for (auto _ : state)
    {
        U_SubString(out, format, name.c_str(), kFrames, kSeconds);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(Message);

void MultibyteMessage(benchmark::State& state)
{
    const std::string format(std::begin(kMessage), std::end(kMessage) - 1);
    char out[256];
    for (auto _ : state)
    {
        U_SubString(out, sizeof(out), format.c_str(), "Interview", kFrames, kSeconds);
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(MultibyteMessage);

// Fills an ICU message. The format is made once.
icu::UnicodeString FillICU(const icu::MessageFormat& format, UErrorCode& error)
{
    const icu::Formattable arguments[] = {icu::UnicodeString(true, kName, -1), kFrames, kSeconds};
    icu::UnicodeString out;
    icu::FieldPosition ignored(icu::FieldPosition::DONT_CARE);
    format.format(arguments, 3, out, ignored, error);
    return out;
}

void MessageICU(benchmark::State& state)
{
    UErrorCode error = U_ZERO_ERROR;
    const icu::MessageFormat format(kPattern, icu::Locale::getUS(), error);
    if (FillICU(format, error) != kFilled || U_FAILURE(error))
        state.SkipWithError("filled otherwise");
    for (auto _ : state)
        benchmark::DoNotOptimize(FillICU(format, error));
}
BENCHMARK(MessageICU);

void MessageICUMadeEachTime(benchmark::State& state)
{
    UErrorCode error = U_ZERO_ERROR;
    for (auto _ : state)
    {
        const icu::MessageFormat format(kPattern, icu::Locale::getUS(), error);
        benchmark::DoNotOptimize(FillICU(format, error));
    }
}
BENCHMARK(MessageICUMadeEachTime);

const unsigned int kGroup = krobase::utility::kNumberGroup;

// Numbers with one to ten digits before the decimal mark.
std::vector<double> Numbers()
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> power(0, 10);
    std::vector<double> numbers(1024);
    for (double& number : numbers)
        number = std::pow(10, power(random));
    return numbers;
}

// snprintf, and a loop that groups the integer part.
void FormatByHand(double value, char* out)
{
    char plain[32];
    std::snprintf(plain, sizeof(plain), "%.2f", value);
    const char* const point = std::strchr(plain, '.');
    for (const char* at = plain; at != point; ++at)
    {
        *out++ = *at;
        if (point - at > 1 && (point - at) % 3 == 1)
            *out++ = ',';
    }
    std::memcpy(out, point, std::strlen(point) + 1);
}

void FormatByLibrary(double value, char* out)
{
    U_FormatNum(value, kGroup, 1, 2, out);
}

template <void format(double, char*)> void Number(benchmark::State& state)
{
    const std::vector<double> numbers = Numbers();
    char out[32];
    char other[32];
    for (double number : numbers)
    {
        format(number, out);
        FormatByHand(number, other);
        if (std::strcmp(out, other) != 0)
            state.SkipWithError("written otherwise");
    }
    std::size_t next = 0;
    for (auto _ : state)
    {
        format(numbers[next++ % numbers.size()], out);
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK_TEMPLATE(Number, FormatByLibrary);
BENCHMARK_TEMPLATE(Number, FormatByHand);
} // namespace

BENCHMARK_MAIN();
