// Look-up of translated texts, compared with gettext and ICU's resource bundles; and loading a
// dictionary, compared with copying its bytes.

#include <algorithm>
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
#include <sstream>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include <libintl.h>
#include <malloc.h>

#include <benchmark/benchmark.h>
#include <boost/unordered/unordered_flat_map.hpp>
#include <hollin/Dictionary.h>
#include <unicode/ures.h>
#include <unicode/ustring.h>

#include "U_Lifecycle.h"
#include "U_ZString.h"

namespace
{
const char kFolder[] = BENCH_CATALOGUE_FOLDER; // made at build time

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

// The keys of the catalogue in random order, as ZStrings and without "$$$".
struct Keys
{
    std::vector<std::string> mZStrings;
    std::vector<std::string> mBare;

    Keys()
    {
        std::istringstream lines(ReadFile(std::string(kFolder) + "/texts.txt"));
        std::string line;
        while (std::getline(lines, line))
            mBare.push_back(line.substr(4, line.find('=') - 4));
        std::shuffle(mBare.begin(), mBare.end(), std::mt19937(1));
        for (const std::string& key : mBare)
            mZStrings.push_back("$$$" + key + "=");
        if (mBare.size() != 20000)
            Fail("the catalogue isn't there");
    }
};

const Keys& CatalogueKeys()
{
    static const Keys keys;
    return keys;
}

// Each of these classes returns the text of the key with a number, as UTF-16.
class Ours
{
public:
    Ours() : mImage(ReadFile(std::string(kFolder) + "/catalogue.zdict"))
    {
        if (U_Birth("bench_text", nullptr) != 0 ||
            U_ZStringSetCurrentDictionary(reinterpret_cast<U_u16*>(&mImage[0]), mImage.size()) != 0)
            Fail("the dictionary can't be loaded");
    }
    ~Ours() { U_Death(); }

    U_UTF16String Text(std::size_t number) const
    {
        return U_ZStringToUTF16String(CatalogueKeys().mZStrings[number].c_str());
    }

private:
    std::string mImage; // outlives the library
};

class Gettext
{
public:
    Gettext()
    {
        setenv("LANGUAGE", "de", 1);
        std::setlocale(LC_ALL, "C.UTF-8");
        bindtextdomain("catalogue", kFolder);
    }

    std::u16string Text(std::size_t number) const
    {
        const char* text = dgettext("catalogue", CatalogueKeys().mBare[number].c_str());
        const std::size_t length = std::strlen(text);
        std::u16string units(length, 0);
        UErrorCode error = U_ZERO_ERROR;
        std::int32_t count = 0;
        u_strFromUTF8(&units[0], static_cast<std::int32_t>(length), &count, text,
                      static_cast<std::int32_t>(length), &error);
        units.resize(static_cast<std::size_t>(count));
        return units;
    }
};

class ResourceBundle
{
public:
    ResourceBundle()
    {
        UErrorCode error = U_ZERO_ERROR;
        mBundle = ures_openDirect((std::string(kFolder) + "/icu").c_str(), "root", &error);
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
        const UChar* text =
            ures_getStringByKey(mBundle, CatalogueKeys().mBare[number].c_str(), &length, &error);
        return std::u16string(text, static_cast<std::size_t>(length));
    }

private:
    UResourceBundle* mBundle;
};

// A checksum of all texts, which must be the same for each class.
template <class Way> std::size_t Checksum(const Way& way)
{
    std::size_t sum = 0;
    for (std::size_t number = 0; number < CatalogueKeys().mBare.size(); ++number)
    {
        for (const auto unit : way.Text(number))
            sum = sum * 31 + static_cast<std::size_t>(unit);
    }
    return sum;
}

template <class Way> void LookUp(benchmark::State& state)
{
    static const std::size_t sExpected = Checksum(Ours()); // before the next birth
    const Way way;
    if (Checksum(way) != sExpected)
        Fail("the ways give different texts");
    std::size_t number = 0;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(way.Text(number));
        number = number + 1 < CatalogueKeys().mBare.size() ? number + 1 : 0;
    }
}
BENCHMARK_TEMPLATE(LookUp, Ours);
BENCHMARK_TEMPLATE(LookUp, Gettext);
BENCHMARK_TEMPLATE(LookUp, ResourceBundle);

const std::size_t kImageKeys = 100000;

struct Entry
{
    std::string mKey;
    U_UTF16String mText;
};

// Keys as programs have them: paths of words.
struct ProgramKeys
{
    static std::string Key(std::size_t, std::mt19937& draw)
    {
        static const char* const kWords[] = {
            "Export", "Import", "Panel",   "Dialog", "Button", "Label",  "Title",    "Audio",
            "Video",  "Layer",  "Effects", "Mask",   "Color",  "Render", "Settings", "Preview",
            "Undo",   "Cache",  "Memory",  "Disk",   "File",   "Folder", "Keyframe", "Camera",
            "Light",  "Text",   "Font",    "Shape",  "Path",   "Brush",  "Warning",  "Error"};
        std::string key = "/QX";
        for (std::size_t words = 3 + draw() % 4; words; --words)
            key += std::string("/") + kWords[draw() % std::size(kWords)];
        return key + kWords[draw() % std::size(kWords)] + std::to_string(draw() % 100);
    }
};

// Keys that differ in a module and a number alone.
struct RegularKeys
{
    static std::string Key(std::size_t number, std::mt19937& draw)
    {
        return "/QX/Module" + std::to_string(draw() % 97) + "/Item" + std::to_string(number);
    }
};

template <class Shape> std::vector<Entry> MakeEntries(std::size_t count)
{
    std::vector<Entry> entries;
    std::unordered_set<std::string> known;
    std::mt19937 draw(1);
    while (entries.size() < count)
    {
        Entry entry = {Shape::Key(entries.size(), draw), U_UTF16String(10 + draw() % 50, 0)};
        for (U_u16& unit : entry.mText)
            unit = static_cast<U_u16>('a' + draw() % 26);
        if (known.insert(entry.mKey).second)
            entries.push_back(std::move(entry));
    }
    return entries;
}

// Returns an image as the build of a host makes it.
std::string MakeImage(const std::vector<Entry>& entries)
{
    hollin::Dictionary dictionary(true);
    for (const Entry& entry : entries)
        dictionary.SetString(entry.mKey.c_str(), entry.mText.data(),
                             static_cast<std::uint32_t>(entry.mText.size() * 2));
    std::ostringstream image;
    dictionary.Serialize(image, hollin::Dictionary::kBinary, nullptr, 1, 0);
    return image.str();
}

const std::string& Image()
{
    static const std::string sImage = MakeImage(MakeEntries<RegularKeys>(kImageKeys));
    return sImage;
}

std::unique_ptr<hollin::Dictionary> LoadImage()
{
    auto dictionary = std::make_unique<hollin::Dictionary>();
    dictionary->LoadFromMemory(reinterpret_cast<const unsigned char*>(Image().data()),
                               static_cast<std::int32_t>(Image().size()), false);
    if (!dictionary->IsGood())
        Fail("the image is damaged");
    return dictionary;
}

// The floor: copies the bytes and allocates an array of identifiers for each bucket.
struct Copy
{
    static const std::size_t kBuckets = 1021;

    Copy() : mBytes(new char[Image().size()])
    {
        std::memcpy(mBytes.get(), Image().data(), Image().size());
        for (auto& bucket : mBuckets)
            bucket.reset(new std::uint32_t[kImageKeys / kBuckets]);
    }

    std::unique_ptr<char[]> mBytes;
    std::unique_ptr<std::uint32_t[]> mBuckets[kBuckets];
};

void Load_Dictionary(benchmark::State& state)
{
    Image();
    for (auto _ : state)
        benchmark::DoNotOptimize(LoadImage());
}
BENCHMARK(Load_Dictionary)->Unit(benchmark::kMicrosecond);

void Load_Copy(benchmark::State& state)
{
    Image();
    for (auto _ : state)
        benchmark::DoNotOptimize(std::make_unique<Copy>());
}
BENCHMARK(Load_Copy)->Unit(benchmark::kMicrosecond);

std::size_t BytesAllocated()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void Memory_Dictionary(benchmark::State& state)
{
    Image();
    const std::size_t before = BytesAllocated();
    const auto dictionary = LoadImage();
    for (auto _ : state)
        benchmark::DoNotOptimize(dictionary.get());
    state.counters["bytes"] = static_cast<double>(BytesAllocated() - before);
}
BENCHMARK(Memory_Dictionary)->Iterations(1);

void Memory_Image(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(Image().data());
    state.counters["bytes"] = static_cast<double>(Image().size());
}
BENCHMARK(Memory_Image)->Iterations(1);

// Look-ups in random order in a dictionary whose size is the argument. The peer is a flat hash
// table without locale or markers.

// Entries in random order, and their image.
struct Catalogue
{
    explicit Catalogue(std::vector<Entry> entries) : mEntries(std::move(entries))
    {
        mImage = MakeImage(mEntries);
        std::shuffle(mEntries.begin(), mEntries.end(), std::mt19937(2));
        for (const Entry& entry : mEntries)
            mZStrings.push_back("$$$" + entry.mKey + "=");
    }

    std::vector<Entry> mEntries;
    std::vector<std::string> mZStrings;
    std::string mImage;
};

// Makes the catalogue at the first call.
template <class Shape> Catalogue& CatalogueOf(std::size_t count)
{
    static std::map<std::size_t, std::unique_ptr<Catalogue>> sMade;
    std::unique_ptr<Catalogue>& made = sMade[count];
    if (!made)
        made = std::make_unique<Catalogue>(MakeEntries<Shape>(count));
    return *made;
}

class Dictionary
{
public:
    explicit Dictionary(Catalogue& catalogue) : mZStrings(catalogue.mZStrings)
    {
        U_Birth("bench_text", nullptr);
        U_ZStringSetCurrentDictionary(reinterpret_cast<U_u16*>(&catalogue.mImage[0]),
                                      catalogue.mImage.size());
    }
    ~Dictionary() { U_Death(); }
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;

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
    explicit FlatMap(const Catalogue& catalogue) : mEntries(catalogue.mEntries)
    {
        for (const Entry& entry : mEntries)
            mTexts.emplace(entry.mKey, entry.mText);
    }

    U_UTF16String Text(std::size_t number) const
    {
        return mTexts.find(mEntries[number].mKey)->second;
    }

private:
    boost::unordered_flat_map<std::string, U_UTF16String> mTexts;
    const std::vector<Entry>& mEntries;
};

// Each text is looked up once before the loop, which also makes the indices of all buckets.
template <class Way> std::unique_ptr<Way> MakeWay(Catalogue& catalogue)
{
    auto way = std::make_unique<Way>(catalogue);
    for (std::size_t number = 0; number < catalogue.mEntries.size(); ++number)
    {
        if (way->Text(number) != catalogue.mEntries[number].mText)
            Fail("another text");
    }
    return way;
}

template <class Way, class Shape> void LookUpAmong(benchmark::State& state)
{
    static std::unique_ptr<Way> sWay; // of all threads, which the loop starts together
    const auto count = static_cast<std::size_t>(state.range(0));
    if (state.thread_index() == 0)
        sWay = MakeWay<Way>(CatalogueOf<Shape>(count));
    std::size_t number = count / 2 * static_cast<std::size_t>(state.thread_index());
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(sWay->Text(number));
        number = number + 1 < count ? number + 1 : 0;
    }
    if (state.thread_index() == 0)
        sWay.reset();
}

#define SIZES Arg(100000)->Arg(500000)->UseRealTime()
BENCHMARK_TEMPLATE(LookUpAmong, Dictionary, ProgramKeys)->SIZES;
BENCHMARK_TEMPLATE(LookUpAmong, FlatMap, ProgramKeys)->SIZES;
BENCHMARK_TEMPLATE(LookUpAmong, Dictionary, RegularKeys)->SIZES;
BENCHMARK_TEMPLATE(LookUpAmong, FlatMap, RegularKeys)->SIZES;
BENCHMARK_TEMPLATE(LookUpAmong, Dictionary, ProgramKeys)
    ->Arg(20000)
    ->UseRealTime()
    ->ThreadRange(1, 2);

// For the plot.
#define GROWING RangeMultiplier(10)->Range(100, 100000)
BENCHMARK_TEMPLATE(LookUpAmong, Dictionary, RegularKeys)
    ->Name("Growth/look-up/dictionary")
    ->GROWING;
BENCHMARK_TEMPLATE(LookUpAmong, FlatMap, RegularKeys)
    ->Name("Growth/look-up/bare hash table")
    ->GROWING;
} // namespace
