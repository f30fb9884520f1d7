// Look-up of translated texts beside other catalogues: a flat hash table, Qt's, ICU's and
// gettext's; and loading a dictionary, compared with copying its bytes.
//
// All ways look the same keys up in the same random order, and return a new text in UTF-16.

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <libintl.h>
#include <malloc.h>

#include <benchmark/benchmark.h>
#include <boost/unordered/unordered_flat_map.hpp>
#include <hollin/Dictionary.h>
#include <unicode/ures.h>
#include <unicode/ustring.h>

#ifdef BENCH_HAS_QT
#include <QString>
#include <QTranslator>
#endif

#include "U_Encoding.h"
#include "U_Lifecycle.h"
#include "U_ZString.h"

namespace
{
// The shapes of keys, and the sizes of the catalogues of either shape that the build has made.
struct ProgramKeys
{
    static constexpr const char* kName = "program";
};
struct RegularKeys
{
    static constexpr const char* kName = "regular";
};
const char* const kCatalogues[] = {"program-1000",   "program-20000", "program-100000",
                                   "program-500000", "regular-1000",  "regular-100000",
                                   "regular-500000"};

std::string FolderOf(const std::string& catalogue)
{
    return std::string(BENCH_CATALOGUES) + "/" + catalogue;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

[[noreturn]] void Fail(const char* what)
{
    std::fprintf(stderr, "bench_text: %s\n", what);
    std::exit(1);
}

// Keys in random order, also as ZStrings, and their texts. All strings lie in memory in this order,
// so that no way waits for its argument.
struct Catalogue
{
    explicit Catalogue(const std::string& name)
        : mName(name), mImage(ReadFile(FolderOf(name) + "/catalogue.zdict"))
    {
        std::istringstream file(ReadFile(FolderOf(name) + "/texts.txt"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        std::shuffle(lines.begin(), lines.end(), std::mt19937(1));
        for (const std::string& line : lines)
            mKeys.push_back(line.substr(4, line.find('=') - 4));
        for (const std::string& key : mKeys)
            mZStrings.push_back("$$$" + key + "=");
        for (const std::string& line : lines)
        {
            const auto start = line.begin() + static_cast<std::ptrdiff_t>(line.find('=') + 1);
            mTexts.push_back(U_UTF8To16String(U_UTF8String(start, line.end() - 1)));
        }
    }

    std::string mName;
    std::vector<std::string> mKeys;
    std::vector<std::string> mZStrings;
    std::vector<U_UTF16String> mTexts;
    std::string mImage;
};

// Reads the catalogue at the first call.
Catalogue& CatalogueOf(const std::string& name)
{
    static std::map<std::string, std::unique_ptr<Catalogue>> sRead;
    std::unique_ptr<Catalogue>& read = sRead[name];
    if (!read)
        read = std::make_unique<Catalogue>(name);
    return *read;
}

// Each of these classes returns the text of the key with a number.
class Ours
{
public:
    static const bool kOneAtATime = true;

    explicit Ours(Catalogue& catalogue) : mZStrings(catalogue.mZStrings)
    {
        if (U_Birth("bench_text", nullptr) != 0 ||
            U_ZStringSetCurrentDictionary(reinterpret_cast<U_u16*>(&catalogue.mImage[0]),
                                          catalogue.mImage.size()) != 0)
            Fail("the dictionary can't be loaded");
    }
    ~Ours() { U_Death(); }
    Ours(const Ours&) = delete;
    Ours& operator=(const Ours&) = delete;

    U_UTF16String Text(std::size_t number) const
    {
        return U_ZStringToUTF16String(mZStrings[number].c_str());
    }

private:
    const std::vector<std::string>& mZStrings;
};

class FlatMap
{
public:
    static const bool kOneAtATime = false;

    explicit FlatMap(const Catalogue& catalogue) : mKeys(catalogue.mKeys)
    {
        // Sorted, as the files of the other ways: in the order of the look-ups, the loop would read
        // the table's memory in sequence.
        std::map<std::string_view, const U_UTF16String*> sorted;
        for (std::size_t number = 0; number < mKeys.size(); ++number)
            sorted.emplace(mKeys[number], &catalogue.mTexts[number]);
        mTexts.reserve(mKeys.size());
        for (const auto& [key, text] : sorted)
            mTexts.emplace(key, *text);
    }

    U_UTF16String Text(std::size_t number) const { return mTexts.find(mKeys[number])->second; }

private:
    boost::unordered_flat_map<std::string, U_UTF16String> mTexts;
    const std::vector<std::string>& mKeys;
};

class Gettext
{
public:
    static const bool kOneAtATime = false;

    explicit Gettext(const Catalogue& catalogue) : mDomain(catalogue.mName), mKeys(catalogue.mKeys)
    {
        // All domains are bound first: gettext drops the texts it has found at each new one.
        static const bool sBound = BindAll();
        if (!sBound)
            Fail("no locale");
    }

    std::u16string Text(std::size_t number) const
    {
        const char* text = dgettext(mDomain.c_str(), mKeys[number].c_str());
        const std::size_t length = std::strlen(text);
        std::u16string units(length, 0);
        UErrorCode error = U_ZERO_ERROR;
        std::int32_t count = 0;
        u_strFromUTF8(&units[0], static_cast<std::int32_t>(length), &count, text,
                      static_cast<std::int32_t>(length), &error);
        units.resize(static_cast<std::size_t>(count));
        return units;
    }

private:
    static bool BindAll()
    {
        setenv("LANGUAGE", "de", 1);
        for (const char* name : kCatalogues)
            bindtextdomain(name, FolderOf(name).c_str());
        return std::setlocale(LC_ALL, "C.UTF-8");
    }

    const std::string mDomain;
    const std::vector<std::string>& mKeys;
};

class ResourceBundle
{
public:
    static const bool kOneAtATime = false;

    explicit ResourceBundle(const Catalogue& catalogue) : mKeys(catalogue.mKeys)
    {
        UErrorCode error = U_ZERO_ERROR;
        mBundle = ures_openDirect((FolderOf(catalogue.mName) + "/icu").c_str(), "root", &error);
        if (U_FAILURE(error))
            Fail("the resource bundle can't be opened");
    }
    ~ResourceBundle() { ures_close(mBundle); }
    ResourceBundle(const ResourceBundle&) = delete;
    ResourceBundle& operator=(const ResourceBundle&) = delete;

    std::u16string Text(std::size_t number) const
    {
        UErrorCode error = U_ZERO_ERROR;
        std::int32_t length = 0;
        const UChar* text = ures_getStringByKey(mBundle, mKeys[number].c_str(), &length, &error);
        return std::u16string(text, static_cast<std::size_t>(length));
    }

private:
    const std::vector<std::string>& mKeys;
    UResourceBundle* mBundle;
};

#ifdef BENCH_HAS_QT
class Qt
{
public:
    static const bool kOneAtATime = false;

    explicit Qt(const Catalogue& catalogue) : mKeys(catalogue.mKeys)
    {
        if (!mTranslator.load(QString::fromStdString(FolderOf(catalogue.mName) + "/catalogue.qm")))
            Fail("the file of Qt can't be loaded");
    }

    QString Text(std::size_t number) const
    {
        return mTranslator.translate(nullptr, mKeys[number].c_str());
    }

private:
    const std::vector<std::string>& mKeys;
    QTranslator mTranslator;
};
#endif

// Makes the way at the first call. Never destroys the last ways, which static destructors need not
// outlive.
template <class Way> const Way& WayOf(Catalogue& catalogue)
{
    static auto& sMade = *new std::map<const Catalogue*, std::unique_ptr<Way>>;
    if (const auto made = sMade.find(&catalogue); made != sMade.end())
        return *made->second;
    if (Way::kOneAtATime)
        sMade.clear();
    std::unique_ptr<Way>& way = sMade[&catalogue];
    way = std::make_unique<Way>(catalogue);
    return *way;
}

template <class Text> bool IsSame(const Text& text, const U_UTF16String& expected)
{
    return static_cast<std::size_t>(text.size()) == expected.size() &&
           std::memcmp(text.data(), expected.data(), 2 * expected.size()) == 0;
}

// Looks each text up once and compares it, which also makes the indices of all buckets, and fills
// the caches. Returns false if this takes so long that the loops would take minutes, as an earlier
// library can.
template <class Way> bool LookUpAll(const Way& way, const Catalogue& catalogue)
{
    typedef std::chrono::steady_clock Clock;
    const std::size_t count = catalogue.mTexts.size();
    const auto end = Clock::now() + std::chrono::seconds(1) + count * std::chrono::microseconds(8);
    for (std::size_t number = 0; number < count; ++number)
    {
        if (!IsSame(way.Text(number), catalogue.mTexts[number]))
            Fail("another text");
        if (number % 1000 == 0 && Clock::now() > end)
            return false;
    }
    return true;
}

// The loop visits each key equally often. Each way looks all keys up before each loop.
template <class Way, class Shape> void LookUp(benchmark::State& state)
{
    static const Way* sWay; // of all threads, which the loop starts together; null if too slow
    const auto count = static_cast<std::size_t>(state.range(0));
    if (state.thread_index() == 0)
    {
        Catalogue& catalogue = CatalogueOf(Shape::kName + ("-" + std::to_string(count)));
        const Way& way = WayOf<Way>(catalogue);
        static std::set<const Catalogue*> sTooSlow;
        if (sTooSlow.count(&catalogue) == 0 && !LookUpAll(way, catalogue))
            sTooSlow.insert(&catalogue);
        sWay = sTooSlow.count(&catalogue) == 0 ? &way : nullptr;
    }
    std::size_t number = count / 2 * static_cast<std::size_t>(state.thread_index());
    for (auto _ : state)
    {
        if (!sWay)
        {
            state.SkipWithError("too slow");
            break;
        }
        benchmark::DoNotOptimize(sWay->Text(number));
        number = number + 1 < count ? number + 1 : 0;
    }
}

// A multiple of each number of keys.
const benchmark::IterationCount kLookUps = 500000;

#define NAMED(way, shape, name)                                                                    \
    BENCHMARK(LookUp<way, shape>)->Name("LookUp/" name "/" #way)->Iterations(kLookUps)
#define THREADS UseRealTime()->ThreadRange(1, 2)
#define ALL(way)                                                                                   \
    NAMED(way, ProgramKeys, "program")->Arg(1000)->Arg(20000)->Arg(100000)->Arg(500000)->THREADS;  \
    NAMED(way, RegularKeys, "regular")->Arg(1000)->Arg(100000)->Arg(500000)->THREADS
ALL(Ours);
ALL(FlatMap);
ALL(Gettext);
#ifdef BENCH_HAS_QT
ALL(Qt);
#endif
NAMED(ResourceBundle, ProgramKeys, "program")->Arg(1000)->Arg(20000)->THREADS;
NAMED(ResourceBundle, RegularKeys, "regular")->Arg(1000)->THREADS;

// For the plot.
#define GROWING Arg(1000)->Arg(100000)->Arg(500000)->Iterations(kLookUps)
BENCHMARK(LookUp<Ours, RegularKeys>)->Name("Growth/look-up/dictionary")->GROWING;
BENCHMARK(LookUp<FlatMap, RegularKeys>)->Name("Growth/look-up/bare hash table")->GROWING;

const Catalogue& LoadedCatalogue(const benchmark::State& state)
{
    return CatalogueOf("program-" + std::to_string(state.range(0)));
}

const std::string& ImageOf(const benchmark::State& state)
{
    return LoadedCatalogue(state).mImage;
}

std::unique_ptr<hollin::Dictionary> LoadImage(const std::string& image)
{
    auto dictionary = std::make_unique<hollin::Dictionary>();
    dictionary->LoadFromMemory(reinterpret_cast<const unsigned char*>(image.data()),
                               static_cast<std::int32_t>(image.size()), false);
    if (!dictionary->IsGood())
        Fail("the image is damaged");
    return dictionary;
}

void Load_Dictionary(benchmark::State& state)
{
    const Catalogue& catalogue = LoadedCatalogue(state);
    const auto dictionary = LoadImage(catalogue.mImage);
    for (std::size_t number = 0; number < catalogue.mTexts.size(); number += 1000)
    {
        const hollin::ZString text = dictionary->GetString(catalogue.mZStrings[number].c_str());
        if (U_UTF16String(text.Data(), text.Length()) != catalogue.mTexts[number])
            state.SkipWithError("another text");
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(LoadImage(catalogue.mImage));
}
BENCHMARK(Load_Dictionary)->Arg(100000)->Arg(500000)->Unit(benchmark::kMicrosecond);

// One floor: into new memory, as a load does.
void Load_NewCopy(benchmark::State& state)
{
    const std::string& image = ImageOf(state);
    const auto makeCopy = [&image] {
        std::unique_ptr<char[]> copy(new char[image.size()]);
        std::memcpy(copy.get(), image.data(), image.size());
        return copy;
    };
    if (!std::equal(image.begin(), image.end(), makeCopy().get()))
        state.SkipWithError("another image");
    for (auto _ : state)
        benchmark::DoNotOptimize(makeCopy().get());
}
BENCHMARK(Load_NewCopy)->Arg(100000)->Arg(500000)->Unit(benchmark::kMicrosecond);

// The other floor: into memory that is there. The C library returns large blocks to the system.
void Load_Copy(benchmark::State& state)
{
    const std::string& image = ImageOf(state);
    std::vector<char> copy(image.size());
    for (auto _ : state)
    {
        std::memcpy(copy.data(), image.data(), image.size());
        benchmark::ClobberMemory();
    }
    if (!std::equal(copy.begin(), copy.end(), image.begin()))
        state.SkipWithError("another image");
}
BENCHMARK(Load_Copy)->Arg(100000)->Arg(500000)->Unit(benchmark::kMicrosecond);

std::size_t BytesAllocated()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// The first look-up in a bucket makes the index of the bucket's keys.
enum class Use
{
    kLoadedOnly,
    kAllLookedUp
};

template <Use use> void Memory_Dictionary(benchmark::State& state)
{
    const Catalogue& catalogue = LoadedCatalogue(state);
    const std::size_t before = BytesAllocated();
    const auto dictionary = LoadImage(catalogue.mImage);
    std::size_t found = 0;
    if (use == Use::kAllLookedUp)
    {
        for (const std::string& key : catalogue.mKeys)
            found += dictionary->HasString(key.c_str()) ? 1 : 0;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(dictionary.get());
    state.counters["bytes"] = static_cast<double>(BytesAllocated() - before);
    if (use == Use::kAllLookedUp && found != catalogue.mKeys.size())
        state.SkipWithError("not found");
}
BENCHMARK(Memory_Dictionary<Use::kLoadedOnly>)
    ->Name("Memory_Dictionary/loaded")
    ->Arg(100000)
    ->Iterations(1);
BENCHMARK(Memory_Dictionary<Use::kAllLookedUp>)
    ->Name("Memory_Dictionary/looked up")
    ->Arg(100000)
    ->Iterations(1);

void Memory_Image(benchmark::State& state)
{
    const std::string& image = ImageOf(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(image.data());
    state.counters["bytes"] = static_cast<double>(image.size());
}
BENCHMARK(Memory_Image)->Arg(100000)->Iterations(1);
} // namespace
