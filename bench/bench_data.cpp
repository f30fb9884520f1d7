// Trees as JSON, escaping, and binary text.
//
// The peers: for trees, boost's property tree of strings; for escaping, a plain copy of the text,
// which is its floor, and pugixml's writer; for binary text, the loops that a user would write:
// over the C library's functions, and over a table.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <pugixml.hpp>

#include "U_AnyTree.h"
#include "U_Encoding.h"
#include "U_Lifecycle.h"
#include "U_XML.h"

namespace
{
const std::size_t kKB = 1000;

// Returns a settings document of about `size` bytes: objects of a few values, in arrays of a
// hundred.
std::string MakeDocument(std::size_t size)
{
    std::string json = "{";
    std::size_t number = 0;
    while (json.size() < size)
    {
        json += json.size() > 1 ? "," : "";
        json += "\"group" + std::to_string(number) + "\":[";
        for (int i = 0; i < 100; ++i, ++number)
        {
            const std::string digits = std::to_string(number * 7919);
            json += i ? "," : "";
            json += "{\"name\":\"Setting number " + digits + "\",\"count\":" + digits +
                    ",\"scale\":" + std::to_string(number % 100) +
                    ".25,\"on\":" + (number % 2 ? "true" : "false") +
                    ",\"path\":\"C:\\\\media\\\\clip" + digits + ".mov\"}";
        }
        json += "]";
    }
    return json + "}";
}

const std::string& Document(std::size_t size)
{
    static std::map<std::size_t, std::string> sDocuments;
    std::string& document = sDocuments[size];
    if (document.empty())
        document = MakeDocument(size);
    return document;
}

// Reads from UTF-8, the bytes of a file, and writes to UTF-8.
struct Ours
{
    typedef U_UTF8String Bytes;
    typedef U_AnyTree Tree;

    static void Read(const Bytes& bytes, Tree* tree)
    {
        U_AnyTreeWrapper(*tree).SetFrom_JSON(U_UTF8To16String(bytes));
    }
    static Bytes Write(const Tree& tree)
    {
        return U_UTF16To8String(U_AnyTreeWrapper(tree).GetAs_JSON());
    }
};

// Boost's reader and writer for trees of strings.
struct Peer
{
    typedef std::string Bytes;
    typedef boost::property_tree::ptree Tree;

    static void Read(const Bytes& bytes, Tree* tree)
    {
        std::istringstream stream(bytes);
        boost::property_tree::read_json(stream, *tree);
    }
    static Bytes Write(const Tree& tree)
    {
        std::ostringstream stream;
        boost::property_tree::write_json(stream, tree, false);
        return stream.str();
    }
};

template <class Way> typename Way::Bytes DocumentFor(const benchmark::State& state)
{
    const std::string& text = Document(static_cast<std::size_t>(state.range(0)) * kKB);
    return typename Way::Bytes(text.begin(), text.end());
}

// Both run once before the measurement: the first run also joins the free blocks that earlier
// benchmarks have left in the heap.

template <class Way> void Read(benchmark::State& state)
{
    const typename Way::Bytes document = DocumentFor<Way>(state);
    const auto readOnce = [&] {
        typename Way::Tree tree;
        Way::Read(document, &tree);
        benchmark::DoNotOptimize(tree.size());
    };
    readOnce();
    for (auto _ : state)
        readOnce();
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(document.size()));
}

// Returns true if a tree that is written, read and written again has the same text.
template <class Way> bool IsReadBack(const typename Way::Bytes& written)
{
    typename Way::Tree tree;
    Way::Read(written, &tree);
    return !tree.empty() && Way::Write(tree) == written;
}

template <class Way> void Write(benchmark::State& state)
{
    typename Way::Tree tree;
    Way::Read(DocumentFor<Way>(state), &tree);
    if (!IsReadBack<Way>(Way::Write(tree)))
        state.SkipWithError("not what was written");
    const std::size_t size = Way::Write(tree).size();
    for (auto _ : state)
        benchmark::DoNotOptimize(Way::Write(tree).data());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

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

#define SIZES Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond) // KB
BENCHMARK(Read<Ours>)->SIZES;
BENCHMARK(Read<Peer>)->SIZES;
BENCHMARK(Write<Ours>)->SIZES;
BENCHMARK(Write<Peer>)->SIZES;
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

// The sizes of the plots.
#define GROWING Arg(20)->Arg(100)->Arg(1000)->Arg(5000)->Arg(20000)
BENCHMARK(Read<Ours>)->Name("Growth/json/read")->GROWING;
BENCHMARK(Read<Peer>)->Name("Growth/json/read by boost")->GROWING;
BENCHMARK(Write<Ours>)->Name("Growth/json/write")->GROWING;
BENCHMARK(Write<Peer>)->Name("Growth/json/write by boost")->GROWING;

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv) || U_Birth("bench_data", nullptr) != 0)
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return U_Death() == 0 ? 0 : 1;
}
