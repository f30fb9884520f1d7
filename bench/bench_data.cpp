// Variants, escaping and binary text.
//
// The peers: for variants, std::variant; for escaping, a plain copy of the text, which is its
// floor, pugixml's writer and libxml2's function; for binary text, the loops that a user would
// write: over the C library's functions, and over a table.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <benchmark/benchmark.h>
#include <libxml/entities.h>
#include <libxml/xmlmemory.h>
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
        return std::move(writer.mText); // a member is not moved otherwise
    };
    if (write() != U_EscapeBodyTextToSafeXML(text, false, false))
        state.SkipWithError("escaped otherwise");
    for (auto _ : state)
        benchmark::DoNotOptimize(write().data());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// libxml2's function, which escapes quotation marks and carriage returns, too. The text has none.
void EscapeMarkedByLibxml2(benchmark::State& state)
{
    const U_UTF8String text = MakeMarkedText();
    const auto escape = [&text] {
        return std::unique_ptr<xmlChar, xmlFreeFunc>(xmlEncodeSpecialChars(nullptr, text.c_str()),
                                                     xmlFree);
    };
    const auto escaped = escape();
    if (!escaped || U_EscapeBodyTextToSafeXML(text, false, false) != escaped.get())
        state.SkipWithError("escaped otherwise");
    for (auto _ : state)
        benchmark::DoNotOptimize(escape().get());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

typedef std::variant<std::monostate, bool, int, U_i64, double, std::string, U_UTF16String> Variant;

U_i64 IntOf(const U_Any& any)
{
    return any.GetAs_int();
}

U_i64 IntOf(const Variant& variant)
{
    return std::get<int>(variant);
}

template <class Any> void MakeInt(benchmark::State& state)
{
    int number = 6;
    if (IntOf(Any(++number)) != 7)
        state.SkipWithError("not the number");
    for (auto _ : state)
    {
        Any any(++number);
        benchmark::DoNotOptimize(&any);
    }
}

template <class Any> void CopyInt(benchmark::State& state)
{
    const Any any(7);
    if (IntOf(Any(any)) != 7)
        state.SkipWithError("not the number");
    for (auto _ : state)
    {
        Any copy(any);
        benchmark::DoNotOptimize(&copy);
    }
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

// One pair of digits for each byte, and one value for each digit.
const char kDigits[] = "0123456789abcdef";

constexpr auto kPairs = [] {
    std::array<std::array<char, 2>, 256> pairs = {};
    for (std::size_t i = 0; i < pairs.size(); ++i)
        pairs[i] = {kDigits[i >> 4], kDigits[i & 15]};
    return pairs;
}();

constexpr auto kValues = [] {
    std::array<U_u8, 256> values = {};
    for (std::size_t i = 0; i < 16; ++i)
        values[static_cast<U_u8>(kDigits[i])] = static_cast<U_u8>(i);
    return values;
}();

// The ways to write binary data as hexadecimal digits, and to read these.
struct ByLibrary
{
    typedef U_ScAutoArray<unsigned char> Bytes;

    static U_UTF8String Encode(const std::vector<U_u8>& bytes)
    {
        return U_BinaryDataToUTF8String(static_cast<int>(bytes.size()), bytes.data());
    }
    static void Decode(const U_UTF8String& text, Bytes* bytes)
    {
        U_UTF8StringToBinaryData(text, bytes);
    }
};

struct ByCLibrary
{
    typedef std::vector<U_u8> Bytes;

    static U_UTF8String Encode(const std::vector<U_u8>& bytes)
    {
        U_UTF8String text(2 * bytes.size(), 0);
        char pair[3];
        for (std::size_t i = 0; i < bytes.size(); ++i)
        {
            std::snprintf(pair, sizeof(pair), "%02x", bytes[i]);
            std::memcpy(&text[2 * i], pair, 2);
        }
        return text;
    }
    static void Decode(const U_UTF8String& text, Bytes* bytes)
    {
        bytes->resize(text.size() / 2);
        for (std::size_t i = 0; i < bytes->size(); ++i)
        {
            const char pair[] = {static_cast<char>(text[2 * i]), static_cast<char>(text[2 * i + 1]),
                                 0};
            unsigned int value = 0;
            std::sscanf(pair, "%2x", &value);
            (*bytes)[i] = static_cast<U_u8>(value);
        }
    }
};

struct ByTable
{
    typedef std::vector<U_u8> Bytes;

    static U_UTF8String Encode(const std::vector<U_u8>& bytes)
    {
        U_UTF8String text(2 * bytes.size(), 0);
        U_u8* next = &text[0];
        for (const U_u8 byte : bytes)
        {
            std::memcpy(next, kPairs[byte].data(), 2);
            next += 2;
        }
        return text;
    }
    static void Decode(const U_UTF8String& text, Bytes* bytes)
    {
        bytes->resize(text.size() / 2);
        const U_u8* next = text.data();
        for (U_u8& byte : *bytes)
        {
            byte = static_cast<U_u8>(kValues[next[0]] << 4 | kValues[next[1]]);
            next += 2;
        }
    }
};

template <class Way> void Encode(benchmark::State& state)
{
    const std::vector<U_u8> bytes = MakeBytes();
    if (Way::Encode(bytes) != ByCLibrary::Encode(bytes))
        state.SkipWithError("encoded otherwise");
    for (auto _ : state)
        benchmark::DoNotOptimize(Way::Encode(bytes).data());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

bool IsSame(const std::vector<U_u8>& bytes, const std::vector<U_u8>& decoded)
{
    return bytes == decoded;
}

bool IsSame(const std::vector<U_u8>& bytes, const U_ScAutoArray<unsigned char>& decoded)
{
    return std::equal(bytes.begin(), bytes.end(), decoded.Get(), decoded.Get() + decoded.Count());
}

template <class Way> void Decode(benchmark::State& state)
{
    const std::vector<U_u8> bytes = MakeBytes();
    const U_UTF8String text = ByCLibrary::Encode(bytes);
    typename Way::Bytes checked;
    Way::Decode(text, &checked);
    if (!IsSame(bytes, checked))
        state.SkipWithError("not what was encoded");
    for (auto _ : state)
    {
        typename Way::Bytes decoded;
        Way::Decode(text, &decoded);
        benchmark::DoNotOptimize(&decoded);
        benchmark::ClobberMemory();
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
BENCHMARK(EscapeMarkedByLibxml2);
BENCHMARK(Encode<ByLibrary>);
BENCHMARK(Encode<ByCLibrary>);
BENCHMARK(Encode<ByTable>);
BENCHMARK(Decode<ByLibrary>);
BENCHMARK(Decode<ByCLibrary>);
BENCHMARK(Decode<ByTable>);

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv) || U_Birth("bench_data", nullptr) != 0)
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return U_Death() == 0 ? 0 : 1;
}
