// Variants, escaping and binary text.
//
// The peers: for variants, std::variant; for escaping, a plain copy of the text, which is its
// floor, and pugixml's writer; for binary text, the loops that a user would write: over the C
// library's functions, and over a table.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include "U_Any.h"
#include "U_Encoding.h"
#include "U_Lifecycle.h"
#include "U_XML.h"

namespace
{
const std::size_t kTextSize = 1 << 20; // bytes, also of binary data

// Sentences without characters that are escaped.
U_UTF8String MakePlainText()
{
    const std::string sentence = "The clip was moved to another bin, and its marks went along. ";
    U_UTF8String text;
    while (text.size() < kTextSize)
        text.append(sentence.begin(), sentence.end());
    return text;
}

void EscapePlain(benchmark::State& state)
{
    const U_UTF8String text = MakePlainText();
    if (U_EscapeAttributeValueToSafeXML(text, false, false) != text)
        state.SkipWithError("plain text changed");
    for (auto _ : state)
        benchmark::DoNotOptimize(U_EscapeAttributeValueToSafeXML(text, false, false).data());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void CopyPlain(benchmark::State& state)
{
    const U_UTF8String text = MakePlainText();
    std::vector<U_u8> copy(text.size());
    for (auto _ : state)
    {
        std::memcpy(copy.data(), text.data(), text.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// Words of one to eight letters, each with a character after it that is escaped.
U_UTF8String MakeMarkedText()
{
    std::mt19937 random(1);
    U_UTF8String text;
    while (text.size() < kTextSize)
    {
        text.append(1 + random() % 8, 'a');
        text.push_back("&<>"[random() % 3]);
    }
    return text;
}

void EscapeMarked(benchmark::State& state)
{
    const U_UTF8String text = MakeMarkedText();
    if (U_UnEscapeXMLBodyText(U_EscapeBodyTextToSafeXML(text, false, false)) != text)
        state.SkipWithError("not what was escaped");
    for (auto _ : state)
        benchmark::DoNotOptimize(U_EscapeBodyTextToSafeXML(text, false, false).data());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// Appends what pugixml writes to a text.
struct TextWriter : pugi::xml_writer
{
    void write(const void* data, std::size_t size) override
    {
        mText.append(static_cast<const U_u8*>(data), size);
    }

    U_UTF8String mText;
};

void EscapeMarkedByPugi(benchmark::State& state)
{
    const U_UTF8String text = MakeMarkedText();
    pugi::xml_document document;
    pugi::xml_node node = document.append_child(pugi::node_pcdata);
    node.set_value(std::string(text.begin(), text.end()).c_str());
    const auto write = [&] {
        TextWriter writer;
        writer.mText.reserve(text.size());
        node.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
        return writer.mText;
    };
    if (write() != U_EscapeBodyTextToSafeXML(text, false, false))
        state.SkipWithError("escaped otherwise");
    for (auto _ : state)
        benchmark::DoNotOptimize(write().data());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

typedef std::variant<std::monostate, bool, int, U_i64, double, std::string, U_UTF16String> Variant;

template <class Any> void MakeInt(benchmark::State& state)
{
    int number = 0;
    for (auto _ : state)
    {
        Any any(++number);
        benchmark::DoNotOptimize(&any);
    }
}

template <class Any> void CopyInt(benchmark::State& state)
{
    const Any any(7);
    for (auto _ : state)
    {
        Any copy(any);
        benchmark::DoNotOptimize(&copy);
    }
}

U_i64 IntOf(const U_Any& any)
{
    return any.GetAs_int();
}

U_i64 IntOf(const Variant& variant)
{
    return std::get<int>(variant);
}

template <class Any> void AskForInt(benchmark::State& state)
{
    Any any(7);
    if (IntOf(any) != 7)
        state.SkipWithError("not the number");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(&any);
        benchmark::DoNotOptimize(IntOf(any));
    }
}

std::vector<U_u8> MakeBytes()
{
    std::mt19937 random(1);
    std::vector<U_u8> bytes(kTextSize);
    for (U_u8& byte : bytes)
        byte = static_cast<U_u8>(random());
    return bytes;
}

void Encode(benchmark::State& state)
{
    const std::vector<U_u8> bytes = MakeBytes();
    for (auto _ : state)
        benchmark::DoNotOptimize(
            U_BinaryDataToUTF8String(static_cast<int>(bytes.size()), bytes.data()).data());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void EncodeByPrintf(benchmark::State& state)
{
    const std::vector<U_u8> bytes = MakeBytes();
    std::string text(2 * bytes.size() + 1, 0);
    for (auto _ : state)
    {
        for (std::size_t i = 0; i < bytes.size(); ++i)
            std::snprintf(&text[2 * i], 3, "%02x", bytes[i]);
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void EncodeByTable(benchmark::State& state)
{
    const std::vector<U_u8> bytes = MakeBytes();
    for (auto _ : state)
    {
        std::string text(2 * bytes.size(), 0);
        for (std::size_t i = 0; i < bytes.size(); ++i)
        {
            text[2 * i] = "0123456789abcdef"[bytes[i] >> 4];
            text[2 * i + 1] = "0123456789abcdef"[bytes[i] & 15];
        }
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void Decode(benchmark::State& state)
{
    const std::vector<U_u8> bytes = MakeBytes();
    const U_UTF8String text =
        U_BinaryDataToUTF8String(static_cast<int>(bytes.size()), bytes.data());
    U_ScAutoArray<unsigned char> decoded;
    for (auto _ : state)
        U_UTF8StringToBinaryData(text, &decoded);
    if (!std::equal(bytes.begin(), bytes.end(), decoded.Get(), decoded.Get() + decoded.Count()))
        state.SkipWithError("not what was encoded");
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void DecodeByScanf(benchmark::State& state)
{
    const std::vector<U_u8> bytes = MakeBytes();
    const U_UTF8String text =
        U_BinaryDataToUTF8String(static_cast<int>(bytes.size()), bytes.data());
    std::vector<U_u8> decoded(bytes.size());
    for (auto _ : state)
    {
        for (std::size_t i = 0; i < decoded.size(); ++i)
        {
            const char pair[] = {static_cast<char>(text[2 * i]), static_cast<char>(text[2 * i + 1]),
                                 0};
            unsigned int value = 0;
            std::sscanf(pair, "%2x", &value);
            decoded[i] = static_cast<U_u8>(value);
        }
        benchmark::DoNotOptimize(decoded.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void DecodeByTable(benchmark::State& state)
{
    const std::vector<U_u8> bytes = MakeBytes();
    const U_UTF8String text =
        U_BinaryDataToUTF8String(static_cast<int>(bytes.size()), bytes.data());
    U_u8 values[256] = {};
    for (int i = 0; i < 16; ++i)
        values[static_cast<U_u8>("0123456789abcdef"[i])] = static_cast<U_u8>(i);
    for (auto _ : state)
    {
        std::vector<U_u8> decoded(text.size() / 2);
        for (std::size_t i = 0; i < decoded.size(); ++i)
            decoded[i] = static_cast<U_u8>(values[text[2 * i]] << 4 | values[text[2 * i + 1]]);
        benchmark::DoNotOptimize(decoded.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}
} // namespace

BENCHMARK(MakeInt<U_Any>);
BENCHMARK(MakeInt<Variant>);
BENCHMARK(CopyInt<U_Any>);
BENCHMARK(CopyInt<Variant>);
BENCHMARK(AskForInt<U_Any>);
BENCHMARK(AskForInt<Variant>);
BENCHMARK(EscapePlain);
BENCHMARK(CopyPlain);
BENCHMARK(EscapeMarked);
BENCHMARK(EscapeMarkedByPugi);
BENCHMARK(Encode);
BENCHMARK(EncodeByPrintf);
BENCHMARK(EncodeByTable);
BENCHMARK(Decode);
BENCHMARK(DecodeByScanf);
BENCHMARK(DecodeByTable);

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv) || U_Birth("bench_data", nullptr) != 0)
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return U_Death() == 0 ? 0 : 1;
}
