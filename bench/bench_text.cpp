// Conversions of text, compared with ICU, the C library and Qt.
//
// All converters convert the same text: into a buffer that is large enough, or into a new string.
// No branch predictor learns the texts of 1 Mi units. It learns the heads of 100 units, and may
// learn parts of those of 32 Ki units.

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <iconv.h>

#include <benchmark/benchmark.h>
#include <unicode/ustring.h>
#include <win32/text.h>

#ifdef BENCH_HAS_QT
#include <QByteArray>
#include <QString>
#endif

#include "U_Encoding.h"

namespace
{
const int kUnits = 1 << 20; // UTF-16 units of a text

typedef std::vector<unsigned short> Units;
typedef std::vector<char> Bytes;

// Each converter returns the number of elements that it wrote, 0 for a failure.
typedef int (*Decoder)(const Bytes& bytes, Units& units);
typedef int (*Encoder)(const Units& units, Bytes& bytes);

template <class Text> int Count(const Text& text)
{
    return static_cast<int>(text.size());
}

template <unsigned int codePage> int Ours(const Bytes& bytes, Units& units)
{
    return win32::MultiByteToWideChar(codePage, 0, bytes.data(), Count(bytes), units.data(),
                                      Count(units));
}

template <unsigned int codePage> int Ours(const Units& units, Bytes& bytes)
{
    return win32::WideCharToMultiByte(codePage, 0, units.data(), Count(units), bytes.data(),
                                      Count(bytes), nullptr, nullptr);
}

template <unsigned int codePage> int OurCount(const Bytes& bytes, Units&)
{
    return win32::MultiByteToWideChar(codePage, 0, bytes.data(), Count(bytes), nullptr, 0);
}

template <unsigned int codePage> int OurCount(const Units& units, Bytes&)
{
    return win32::WideCharToMultiByte(codePage, 0, units.data(), Count(units), nullptr, 0, nullptr,
                                      nullptr);
}

int ICU(const Bytes& bytes, Units& units)
{
    UErrorCode error = U_ZERO_ERROR;
    int count = 0;
    u_strFromUTF8(reinterpret_cast<UChar*>(units.data()), Count(units), &count, bytes.data(),
                  Count(bytes), &error);
    return U_SUCCESS(error) ? count : 0;
}

int ICU(const Units& units, Bytes& bytes)
{
    UErrorCode error = U_ZERO_ERROR;
    int count = 0;
    u_strToUTF8(bytes.data(), Count(bytes), &count, reinterpret_cast<const UChar*>(units.data()),
                Count(units), &error);
    return U_SUCCESS(error) ? count : 0;
}

// A converter of the C library, opened once and reset for each text.
class Iconv
{
public:
    Iconv(const char* to, const char* from) : mConverter(iconv_open(to, from)) {}
    ~Iconv() { iconv_close(mConverter); }
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;

    template <class Source, class Target> int Convert(const Source& source, Target& target)
    {
        char* next = const_cast<char*>(reinterpret_cast<const char*>(source.data()));
        std::size_t left = source.size() * sizeof(source[0]);
        char* out = reinterpret_cast<char*>(target.data());
        const std::size_t room = target.size() * sizeof(target[0]);
        std::size_t unused = room;
        iconv(mConverter, nullptr, nullptr, nullptr, nullptr);
        if (iconv(mConverter, &next, &left, &out, &unused) == static_cast<std::size_t>(-1))
            return 0;
        return static_cast<int>((room - unused) / sizeof(target[0]));
    }

private:
    iconv_t mConverter;
};

template <unsigned int codePage> const std::string kName = "CP" + std::to_string(codePage);

template <unsigned int codePage> int CLibrary(const Bytes& bytes, Units& units)
{
    static Iconv sConverter("UTF-16LE", kName<codePage>.c_str());
    return sConverter.Convert(bytes, units);
}

template <unsigned int codePage> int CLibrary(const Units& units, Bytes& bytes)
{
    static Iconv sConverter(kName<codePage>.c_str(), "UTF-16LE");
    return sConverter.Convert(units, bytes);
}

// Words from the characters of one alphabet. Mix chooses among scripts by weight.
struct Script
{
    std::u16string mAlphabet;
    unsigned int mLongestWord;
    unsigned int mWeight;
};

Units Mix(const std::vector<Script>& scripts)
{
    std::mt19937 random(1);
    std::vector<const Script*> choices;
    for (const Script& script : scripts)
        choices.insert(choices.end(), script.mWeight, &script);
    Units units;
    while (units.size() < static_cast<std::size_t>(kUnits))
    {
        const Script& script = *choices[random() % choices.size()];
        for (std::size_t left = 1 + random() % script.mLongestWord; left > 0; --left)
            units.push_back(script.mAlphabet[random() % script.mAlphabet.size()]);
        units.push_back(script.mAlphabet[0]);
    }
    return units;
}

const char16_t kLetters[] = u" eeeeeeaaaaaannnnnnttttttiiiiiooooosssrrrhhhlllddccuummffpgwybvk,.";

const Script kWords = {kLetters, 12, 4};

Units Ascii()
{
    return Mix({kWords});
}

// About five accented letters and one typographic sign in a hundred characters.
Units Latin()
{
    return Mix(
        {kWords,
         {std::u16string(kLetters) + u"\u00E9\u00E8\u00E0\u00FC\u00F6\u00DF\u00E7\u00F1", 12, 4},
         {u" \u2019\u201C\u20AC", 1, 1}});
}

// Kana and ideographs, with a few words in Latin letters.
Units Japanese()
{
    std::u16string kana = u"\u3001\u3002";
    for (char16_t unit = 0x3041; unit < 0x3094; ++unit)
        kana += unit;
    const char16_t* kIdeographs = u"\u65E5\u672C\u8A9E\u6587\u5B57\u753B\u50CF\u5199\u771F\u52D5"
                                  u"\u97F3\u58F0\u7DE8\u96C6\u8272\u5F69\u8ABF\u6574\u4FDD\u5B58";
    return Mix({{kana, 12, 4}, {kIdeographs, 4, 4}, {kLetters, 8, 1}});
}

Units Russian()
{
    std::u16string letters = u" ";
    for (char16_t unit = 0x430; unit < 0x450; ++unit)
        letters += unit;
    return Mix({{letters, 12, 8}, {kLetters, 8, 1}});
}

// Converts to a code page by our own conversion. The comparison with the peers checks it.
template <unsigned int codePage> Bytes Encoded(const Units& units)
{
    Bytes bytes(units.size() * 3);
    bytes.resize(static_cast<std::size_t>(Ours<codePage>(units, bytes)));
    return bytes;
}

template <class Source, class Target>
void Run(benchmark::State& state, int (*convert)(const Source&, Target&), const Source& source,
         const Target& expected, bool countOnly)
{
    Target target(kUnits * 4);
    const int count = convert(source, target);
    if (count != Count(expected) ||
        (!countOnly && !std::equal(expected.begin(), expected.end(), target.begin())))
        state.SkipWithError("converted otherwise");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(convert(source, target));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(source.size() * sizeof(source[0])));
}

// Registers the conversions of a text from and to a code page: ours, the peer, and our count
// of the result's elements, which stores none of them for the caller.
template <unsigned int codePage>
void Register(const std::string& name, Units (*text)(), Decoder peerDecoder, Encoder peerEncoder)
{
    const auto decode = [text](benchmark::State& state, Decoder decoder, bool countOnly) {
        const Units units = text();
        Run(state, decoder, Encoded<codePage>(units), units, countOnly);
    };
    const auto encode = [text](benchmark::State& state, Encoder encoder, bool countOnly) {
        const Units units = text();
        Run(state, encoder, units, Encoded<codePage>(units), countOnly);
    };
    const auto add = [&name](const char* what, auto run, auto convert, bool countOnly) {
        benchmark::RegisterBenchmark((name + what).c_str(), run, convert, countOnly);
    };
    add("/decode/ours", decode, Decoder(Ours<codePage>), false);
    add("/decode/peer", decode, peerDecoder, false);
    add("/decode/count", decode, Decoder(OurCount<codePage>), true);
    add("/encode/ours", encode, Encoder(Ours<codePage>), false);
    add("/encode/peer", encode, peerEncoder, false);
    add("/encode/count", encode, Encoder(OurCount<codePage>), true);
}

// Ways to make a new string. The sources are in the form of the way's own strings.
struct OurStrings
{
    typedef U_UTF8String Narrow;
    typedef U_UTF16String Wide;

    static Wide Decode(const Narrow& bytes) { return U_UTF8To16String(bytes); }
    static Narrow Encode(const Wide& units) { return U_UTF16To8String(units); }
};

#ifdef BENCH_HAS_QT
struct QtStrings
{
    typedef QByteArray Narrow;
    typedef QString Wide;

    static Wide Decode(const Narrow& bytes) { return QString::fromUtf8(bytes); }
    static Narrow Encode(const Wide& units) { return units.toUtf8(); }
};
#endif

template <class String, class Text> String Like(const Text& text)
{
    const auto* const data =
        reinterpret_cast<decltype(std::declval<const String>().data())>(text.data());
    return String(data, Count(text));
}

template <class Source, class Target>
void RunNew(benchmark::State& state, Target (*convert)(const Source&), const Source& source,
            const Target& expected)
{
    if (convert(source) != expected)
        state.SkipWithError("converted otherwise");
    for (auto _ : state)
        benchmark::DoNotOptimize(convert(source).data());
    state.SetBytesProcessed(state.iterations() * Count(source) *
                            static_cast<std::int64_t>(sizeof(source[0])));
}

// Registers the conversions from and to UTF-8 into a new string, of the head of a text, by its
// units.
template <class Way>
void RegisterNew(const std::string& name, const std::string& way, Units (*text)())
{
    typedef typename Way::Narrow Narrow;
    typedef typename Way::Wide Wide;
    const auto headOf = [text](const benchmark::State& state) {
        Units units = text();
        units.resize(static_cast<std::size_t>(state.range(0)));
        return units;
    };
    const auto decode = [headOf](benchmark::State& state) {
        const Units units = headOf(state);
        RunNew(state, Way::Decode, Like<Narrow>(Encoded<65001>(units)), Like<Wide>(units));
    };
    const auto encode = [headOf](benchmark::State& state) {
        const Units units = headOf(state);
        RunNew(state, Way::Encode, Like<Wide>(units), Like<Narrow>(Encoded<65001>(units)));
    };
    benchmark::RegisterBenchmark((name + "/new/decode/" + way).c_str(), decode)
        ->Arg(100)
        ->Arg(kUnits / 32)
        ->Arg(kUnits);
    benchmark::RegisterBenchmark((name + "/new/encode/" + way).c_str(), encode)
        ->Arg(100)
        ->Arg(kUnits / 32)
        ->Arg(kUnits);
}

void RegisterNew(const std::string& name, Units (*text)())
{
    RegisterNew<OurStrings>(name, "ours", text);
#ifdef BENCH_HAS_QT
    RegisterNew<QtStrings>(name, "Qt", text);
#endif
}
} // namespace

int main(int argc, char** argv)
{
    Register<65001>("UTF-8/ASCII", Ascii, ICU, ICU);
    Register<65001>("UTF-8/Latin", Latin, ICU, ICU);
    Register<65001>("UTF-8/Japanese", Japanese, ICU, ICU);
    Register<65001>("UTF-8/Russian", Russian, ICU, ICU);
    Register<1252>("1252/ASCII", Ascii, CLibrary<1252>, CLibrary<1252>);
    Register<1252>("1252/Latin", Latin, CLibrary<1252>, CLibrary<1252>);
    Register<932>("932/Japanese", Japanese, CLibrary<932>, CLibrary<932>);
    RegisterNew("UTF-8/ASCII", Ascii);
    RegisterNew("UTF-8/Latin", Latin);
    RegisterNew("UTF-8/Russian", Russian);
    RegisterNew("UTF-8/Japanese", Japanese);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
