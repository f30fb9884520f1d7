// Trees as JSON.
//
// The peers: the documents of rapidjson, with its vectors, and of nlohmann's library, and boost's
// property tree of strings. All read UTF-8, the bytes of a file, and write UTF-8.

#include <cstdint>
#include <map>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include <benchmark/benchmark.h>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <nlohmann/json.hpp>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "U_AnyTree.h"
#include "U_Encoding.h"
#include "U_Lifecycle.h"

namespace
{
const std::size_t kKB = 1000;

// Appends one member to a document, for each shape.

// A row of measured values.
struct Numbers
{
    static void AppendTo(std::string* json, std::size_t number, std::mt19937* random)
    {
        *json += "\"row" + std::to_string(number) + "\":[";
        for (int i = 0; i < 100; ++i)
        {
            const std::uint32_t value = static_cast<std::uint32_t>((*random)());
            *json += i ? "," : "";
            *json += std::to_string(value % 2000000);
            if (i % 2)
                *json += "." + std::to_string(value % 997 * 2 + 1);
        }
        *json += "]";
    }
};

// A table of texts.
struct Strings
{
    static void AppendTo(std::string* json, std::size_t number, std::mt19937* random)
    {
        *json += "\"text" + std::to_string(number) + "\":\"C:\\\\media\\\\clip" +
                 std::to_string((*random)()) + ".mov was moved\"";
    }
};

// Settings: objects of a few values, in arrays of a hundred.
struct Nested
{
    static void AppendTo(std::string* json, std::size_t number, std::mt19937*)
    {
        *json += "\"group" + std::to_string(number) + "\":[";
        for (std::size_t i = 0; i < 100; ++i)
        {
            const std::string digits = std::to_string((100 * number + i) * 7919);
            *json += i ? "," : "";
            *json += "{\"name\":\"Setting number " + digits + "\",\"count\":" + digits +
                     ",\"scale\":" + std::to_string(i) +
                     ".25,\"on\":" + (i % 2 ? "true" : "false") +
                     ",\"path\":\"C:\\\\media\\\\clip" + digits + ".mov\"}";
        }
        *json += "]";
    }
};

template <class Shape> const std::string& Document(std::size_t size)
{
    static std::map<std::size_t, std::string> sDocuments;
    std::string& json = sDocuments[size];
    if (!json.empty())
        return json;
    std::mt19937 random(1);
    json = "{";
    for (std::size_t number = 0; json.size() < size; ++number)
    {
        json += number ? "," : "";
        Shape::AppendTo(&json, number, &random);
    }
    return json += "}";
}

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

struct Rapid
{
    typedef std::string Bytes;
    typedef rapidjson::Document Tree;

    // Vectors find the ends of strings in a null-terminated text alone.
    static void Read(const Bytes& bytes, Tree* tree)
    {
        if (tree->Parse<rapidjson::kParseFullPrecisionFlag>(bytes.c_str()).HasParseError())
            throw std::runtime_error("rapidjson has not read the document");
    }
    static rapidjson::StringBuffer Write(const Tree& tree)
    {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        tree.Accept(writer);
        return buffer;
    }
};

struct Nlohmann
{
    typedef std::string Bytes;
    typedef nlohmann::json Tree;

    static void Read(const Bytes& bytes, Tree* tree) { *tree = nlohmann::json::parse(bytes); }
    static Bytes Write(const Tree& tree) { return tree.dump(); }
};

struct Boost
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

const char* DataOf(const rapidjson::StringBuffer& buffer)
{
    return buffer.GetString();
}

std::size_t SizeOf(const rapidjson::StringBuffer& buffer)
{
    return buffer.GetSize();
}

template <class String> const char* DataOf(const String& text)
{
    return reinterpret_cast<const char*>(text.data());
}

template <class String> std::size_t SizeOf(const String& text)
{
    return text.size();
}

template <class Way, class Shape> typename Way::Bytes DocumentFor(const benchmark::State& state)
{
    const std::string& text = Document<Shape>(static_cast<std::size_t>(state.range(0)) * kKB);
    return typename Way::Bytes(text.begin(), text.end());
}

template <class String> nlohmann::json ValuesOf(const String& text)
{
    return nlohmann::json::parse(DataOf(text), DataOf(text) + SizeOf(text));
}

// Returns the values with each number and each boolean as its text.
nlohmann::json AsTexts(nlohmann::json values)
{
    if (values.is_structured())
    {
        for (nlohmann::json& value : values)
            value = AsTexts(std::move(value));
        return values;
    }
    return values.is_string() ? values : nlohmann::json(values.dump());
}

// Returns true if the tree of a document is written with the same values. boost's property tree
// writes each value as a text.
template <class Way> bool IsRead(const typename Way::Bytes& document)
{
    typename Way::Tree tree;
    Way::Read(document, &tree);
    const auto written = Way::Write(tree);
    if (std::is_same<Way, Boost>::value)
        return ValuesOf(written) == AsTexts(ValuesOf(document));
    return ValuesOf(written) == ValuesOf(document);
}

// Reading includes the end of the tree. The first run of a way is not measured, since it also joins
// the free blocks that earlier trees have left in the heap.
template <class Way, class Shape> void Read(benchmark::State& state)
{
    const typename Way::Bytes document = DocumentFor<Way, Shape>(state);
    if (!IsRead<Way>(document))
        state.SkipWithError("not what was read");
    const auto readOnce = [&] {
        typename Way::Tree tree;
        Way::Read(document, &tree);
        benchmark::DoNotOptimize(&tree);
    };
    readOnce();
    for (auto _ : state)
        readOnce();
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(document.size()));
}

void PutNodes(const U_AnyTree& tree, U_AnyTree* out)
{
    for (const auto& [key, child] : tree)
    {
        const std::pair<const U_UTF16String&, const U_Any&> node(key, child.data());
        out->insert(out->end(), &node, &node + 1);
        PutNodes(child, &out->back().second);
    }
}

// The floor of Read<Ours, Shape>: the conversion of the document, and the nodes of the tree, put
// into Boost's tree one by one and ended.
template <class Shape> void ReadFloor(benchmark::State& state)
{
    const Ours::Bytes document = DocumentFor<Ours, Shape>(state);
    Ours::Tree tree;
    Ours::Read(document, &tree);
    const auto put = [&](Ours::Tree* copy) {
        const U_UTF16String units = U_UTF8To16String(document);
        PutNodes(tree, copy);
        benchmark::DoNotOptimize(units.data());
    };
    {
        Ours::Tree checked;
        put(&checked);
        if (Ours::Write(checked) != Ours::Write(tree))
            state.SkipWithError("not the same nodes");
    }
    const auto putOnce = [&] {
        Ours::Tree copy;
        put(&copy);
        benchmark::DoNotOptimize(&copy);
    };
    putOnce(); // as for Read
    for (auto _ : state)
        putOnce();
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(document.size()));
}

template <class Way, class Shape> void Write(benchmark::State& state)
{
    typename Way::Tree tree;
    const typename Way::Bytes document = DocumentFor<Way, Shape>(state);
    // The check comes first: the C library joins its freed trees within the writing that is not
    // measured.
    if (!IsRead<Way>(document))
        state.SkipWithError("not what was written");
    Way::Read(document, &tree);
    const auto written = Way::Write(tree);
    for (auto _ : state)
        benchmark::DoNotOptimize(DataOf(Way::Write(tree)));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(SizeOf(written)));
}

// Writes strings below the last of 1,001 members, so that the part of the members that is written
// does not tell the length of the text.
void WriteSkewed(benchmark::State& state)
{
    Ours::Tree strings;
    Ours::Read(DocumentFor<Ours, Strings>(state), &strings);
    Ours::Tree tree;
    U_AnyTreeWrapper wrapper(tree);
    for (int i = 0; i < 1000; ++i)
        wrapper.put(i);
    wrapper.put(strings);
    Ours::Tree().swap(strings);
    const Ours::Bytes written = Ours::Write(tree);
    Ours::Bytes array = written; // whose outermost level has braces
    array.front() = '[';
    array.back() = ']';
    nlohmann::json expected = nlohmann::json::array();
    for (int i = 0; i < 1000; ++i)
        expected.push_back(i);
    expected.push_back(ValuesOf(DocumentFor<Ours, Strings>(state)));
    if (ValuesOf(array) != expected)
        state.SkipWithError("not what was written");
    for (auto _ : state)
        benchmark::DoNotOptimize(Ours::Write(tree).data());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(written.size()));
}
} // namespace

// KB.
#define SIZES Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)
#define SHAPE(name, way, shape)                                                                    \
    BENCHMARK(Read<way, shape>)->Name("Read/" name "/" #way)->SIZES;                               \
    BENCHMARK(Write<way, shape>)->Name("Write/" name "/" #way)->SIZES
#define SHAPES(way)                                                                                \
    SHAPE("numbers", way, Numbers);                                                                \
    SHAPE("strings", way, Strings);                                                                \
    SHAPE("nested", way, Nested)
SHAPES(Ours);
SHAPES(Rapid);
SHAPES(Nlohmann);
SHAPE("nested", Boost, Nested);
BENCHMARK(ReadFloor<Numbers>)->Name("Read/numbers/Floor")->SIZES;
BENCHMARK(ReadFloor<Strings>)->Name("Read/strings/Floor")->SIZES;
BENCHMARK(ReadFloor<Nested>)->Name("Read/nested/Floor")->SIZES;
BENCHMARK(WriteSkewed)->Name("Write/skewed strings/Ours")->SIZES;

// The sizes of the plots.
#define GROWING Arg(20)->Arg(100)->Arg(1000)->Arg(5000)->Arg(20000)
BENCHMARK(Read<Ours, Nested>)->Name("Growth/json/read")->GROWING;
BENCHMARK(Read<Rapid, Nested>)->Name("Growth/json/read by rapidjson")->GROWING;
BENCHMARK(Write<Ours, Nested>)->Name("Growth/json/write")->GROWING;
BENCHMARK(Write<Rapid, Nested>)->Name("Growth/json/write by rapidjson")->GROWING;

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv) || U_Birth("bench_json", nullptr) != 0)
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return U_Death() == 0 ? 0 : 1;
}
