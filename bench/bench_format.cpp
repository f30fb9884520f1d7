// Messages, compared with ICU and fmt, and numbers, compared with the standard library.
//
// fmt reads the message at run time, as a translated message is known only then.

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <fmt/xchar.h>
#include <unicode/msgfmt.h>

#include <U_Format.h>

namespace
{
typedef std::basic_string<char16_t> Text;

const char16_t kMessage[] = u"^1 took ^F3@1.1@ seconds for ^L2 frames.";
const char16_t kPattern[] = u"{0} took {2,number,0.0} seconds for {1} frames.";
const char16_t kPatternFmt[] = u"{0} took {2:.1f} seconds for {1} frames.";
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

std::string Narrow(const char16_t* text)
{
    const Text whole = text;
    return std::string(whole.begin(), whole.end());
}

const std::size_t kRoom = 256; // elements of a buffer

void MultibyteMessage(benchmark::State& state)
{
    const std::string format = Narrow(kMessage);
    char out[kRoom];
    if (U_SubString(out, kRoom, format.c_str(), "Interview", kFrames, kSeconds) ||
        out != Narrow(kFilled))
        state.SkipWithError("filled otherwise");
    for (auto _ : state)
    {
        U_SubString(out, kRoom, format.c_str(), "Interview", kFrames, kSeconds);
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(MultibyteMessage);

// Fills an array of the caller, as the string of Message is reused. With UTF-16 this is fmt's
// fastest way: format_to into a cleared string or memory_buffer takes longer than a new string.
void MessageFmt(benchmark::State& state)
{
    const Text format = kPatternFmt;
    const Text name = kName;
    char16_t out[kRoom];
    const auto fill = [&] {
        *fmt::format_to_n(out, kRoom - 1, std::basic_string_view<char16_t>(format),
                          std::basic_string_view<char16_t>(name.c_str()), kFrames, kSeconds)
             .out = 0;
    };
    fill();
    if (Text(out) != kFilled)
        state.SkipWithError("filled otherwise");
    for (auto _ : state)
    {
        fill();
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(MessageFmt);

void NewMessage(benchmark::State& state)
{
    const U_UTF16String format = Units(kMessage);
    const U_UTF16String name = Units(kName);
    const auto fill = [&] { return U_SubString16(format, name.c_str(), kFrames, kSeconds); };
    if (fill() != Units(kFilled))
        state.SkipWithError("filled otherwise");
    for (auto _ : state)
        benchmark::DoNotOptimize(fill().data());
}
BENCHMARK(NewMessage);

void NewMessageFmt(benchmark::State& state)
{
    const Text format = kPatternFmt;
    const Text name = kName;
    const auto fill = [&] {
        return fmt::format(std::basic_string_view<char16_t>(format),
                           std::basic_string_view<char16_t>(name.c_str()), kFrames, kSeconds);
    };
    if (fill() != kFilled)
        state.SkipWithError("filled otherwise");
    for (auto _ : state)
        benchmark::DoNotOptimize(fill().data());
}
BENCHMARK(NewMessageFmt);

void MultibyteMessageFmt(benchmark::State& state)
{
    const std::string format = Narrow(kPatternFmt);
    char out[kRoom];
    const auto fill = [&] {
        *fmt::format_to_n(out, kRoom - 1, fmt::runtime(format), "Interview", kFrames, kSeconds)
             .out = 0;
    };
    fill();
    if (out != Narrow(kFilled))
        state.SkipWithError("filled otherwise");
    for (auto _ : state)
    {
        fill();
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(MultibyteMessageFmt);

// Fills an ICU message into a string that keeps its memory.
void FillICU(const icu::MessageFormat& format, icu::UnicodeString& out, UErrorCode& error)
{
    const icu::Formattable arguments[] = {icu::UnicodeString(true, kName, -1), kFrames, kSeconds};
    icu::FieldPosition ignored(icu::FieldPosition::DONT_CARE);
    out.remove();
    format.format(arguments, 3, out, ignored, error);
}

void MessageICU(benchmark::State& state)
{
    UErrorCode error = U_ZERO_ERROR;
    const icu::MessageFormat format(kPattern, icu::Locale::getUS(), error);
    icu::UnicodeString out;
    FillICU(format, out, error);
    if (out != kFilled || U_FAILURE(error))
        state.SkipWithError("filled otherwise");
    for (auto _ : state)
    {
        FillICU(format, out, error);
        benchmark::DoNotOptimize(out.getBuffer());
    }
}
BENCHMARK(MessageICU);

void MessageICUMadeEachTime(benchmark::State& state)
{
    UErrorCode error = U_ZERO_ERROR;
    icu::UnicodeString out;
    for (auto _ : state)
    {
        const icu::MessageFormat format(kPattern, icu::Locale::getUS(), error);
        FillICU(format, out, error);
        benchmark::DoNotOptimize(out.getBuffer());
    }
    if (out != kFilled || U_FAILURE(error))
        state.SkipWithError("filled otherwise");
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

// Copies a number with two decimals and groups the integer part.
void Group(const char* plain, const char* end, char* out)
{
    const char* const point = end - 3;
    for (const char* at = plain; at != point; ++at)
    {
        *out++ = *at;
        if (point - at > 1 && (point - at) % 3 == 1)
            *out++ = ',';
    }
    std::memcpy(out, point, 3);
    out[3] = 0;
}

void FormatByPrintf(double value, char* out)
{
    char plain[32];
    const int length = std::snprintf(plain, sizeof(plain), "%.2f", value);
    Group(plain, plain + length, out);
}

void FormatByToChars(double value, char* out)
{
    char plain[32];
    const std::to_chars_result result =
        std::to_chars(plain, plain + sizeof(plain), value, std::chars_format::fixed, 2);
    Group(plain, result.ptr, out);
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
        FormatByPrintf(number, other);
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
BENCHMARK_TEMPLATE(Number, FormatByPrintf);
BENCHMARK_TEMPLATE(Number, FormatByToChars);
} // namespace

BENCHMARK_MAIN();
