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
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

#include <libintl.h>
#include <malloc.h>

#include <benchmark/benchmark.h>
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

std::vector<Entry> MakeEntries(std::size_t count)
{
    std::vector<Entry> entries(count);
    std::mt19937 draw(1);
    for (std::size_t number = 0; number < count; ++number)
    {
        Entry& entry = entries[number];
        entry.mKey = "/QX/Module" + std::to_string(draw() % 97) + "/Item" + std::to_string(number);
        entry.mText.resize(10 + draw() % 50);
        for (U_u16& unit : entry.mText)
            unit = static_cast<U_u16>('a' + draw() % 26);
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
    static const std::string sImage = MakeImage(MakeEntries(kImageKeys));
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

// For the plot: look-ups in random order in a dictionary whose size is the argument. The peer
// is a hash table without locale, lock or expansion.

struct LoadedLibrary
{
    explicit LoadedLibrary(const std::vector<Entry>& entries) : mImage(MakeImage(entries))
    {
        U_Birth("bench_text", nullptr);
        U_ZStringSetCurrentDictionary(reinterpret_cast<U_u16*>(&mImage[0]), mImage.size());
        for (const Entry& entry : entries)
            mZStrings.push_back("$$$" + entry.mKey + "=");
    }
    ~LoadedLibrary() { U_Death(); }

    U_UTF16String Text(std::size_t number) const
    {
        return U_ZStringToUTF16String(mZStrings[number].c_str());
    }

    std::string mImage; // outlives the library
    std::vector<std::string> mZStrings;
};

struct HashTable
{
    explicit HashTable(const std::vector<Entry>& entries)
    {
        for (const Entry& entry : entries)
        {
            mTexts.emplace(entry.mKey, entry.mText);
            mKeys.push_back(entry.mKey);
        }
    }

    U_UTF16String Text(std::size_t number) const { return mTexts.find(mKeys[number])->second; }

    std::unordered_map<std::string, U_UTF16String> mTexts;
    std::vector<std::string> mKeys;
};

template <class Way> void LookUpAmong(benchmark::State& state)
{
    std::vector<Entry> entries = MakeEntries(static_cast<std::size_t>(state.range(0)));
    std::shuffle(entries.begin(), entries.end(), std::mt19937(2));
    const Way way(entries);
    for (std::size_t number = 0; number < entries.size(); ++number)
    {
        if (way.Text(number) != entries[number].mText)
            Fail("another text");
    }
    std::size_t number = 0;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(way.Text(number));
        number = number + 1 < entries.size() ? number + 1 : 0;
    }
}

#define GROWING RangeMultiplier(10)->Range(100, 100000)
BENCHMARK_TEMPLATE(LookUpAmong, LoadedLibrary)->Name("Growth/look-up/dictionary")->GROWING;
BENCHMARK_TEMPLATE(LookUpAmong, HashTable)->Name("Growth/look-up/bare hash table")->GROWING;
} // namespace
