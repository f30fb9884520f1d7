// Texts as literals, loads of images, and the content of a dictionary.

#ifndef TESTS_DICTIONARY_LOADING_H
#define TESTS_DICTIONARY_LOADING_H

#include <cstdint>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <boost/endian/conversion.hpp>
#include <gtest/gtest.h>

#include <hollin/ConversionHooks.h>
#include <hollin/Dictionary.h>
#include <hollin/ImageCheck.h>

#include "tests/support/DictionaryImage.h"

inline hollin::ZString ToZString(const std::u16string& text)
{
    return hollin::ZString(reinterpret_cast<const std::uint16_t*>(text.data()),
                           static_cast<std::uint32_t>(text.size()));
}

inline std::u16string ToText(const hollin::ZString& text)
{
    return std::u16string(text.Data(), text.Data() + text.Length());
}

// Sets a text, and a comment if one is given.
inline std::uint32_t Set(hollin::Dictionary& dictionary, const char* key,
                         const std::u16string& text, const char16_t* comment = nullptr)
{
    const auto* units = reinterpret_cast<const std::uint16_t*>(text.data());
    const std::size_t length = comment ? std::u16string(comment).size() : 0;
    return dictionary.SetString(key, units, static_cast<std::uint32_t>(2 * text.size()),
                                reinterpret_cast<const std::uint16_t*>(comment),
                                static_cast<std::uint32_t>(2 * length));
}

// Returns the code of the VoErrException that the body throws, or 0.
template <class Body> std::int32_t CodeThrownBy(const Body& body)
{
    try
    {
        body();
    }
    catch (const hollin::VoErrException& failure)
    {
        return failure.mCode;
    }
    return 0;
}

typedef std::map<std::string, std::u16string> KeyedTexts;

// Two keys of one bucket: of ten bytes, only every second one is hashed.
const char kOne[] = "a0bbbbbbbb";
const char kTwo[] = "a1bbbbbbbb";

enum class Way
{
    kMemory,
    kStream
};
const Way kWays[] = {Way::kMemory, Way::kStream};

// Loads from a block of exactly the image's size, so that the sanitizers find a read beyond
// it. Keys are copied.
inline void Load(hollin::Dictionary& dictionary, const std::string& image, Way way = Way::kMemory)
{
    if (way == Way::kStream)
    {
        std::istringstream stream(image);
        dictionary.LoadFromStream(stream);
        return;
    }
    const std::vector<unsigned char> bytes(image.begin(), image.end());
    dictionary.LoadFromMemory(bytes.data(), static_cast<std::int32_t>(bytes.size()), true);
}

// Loads a version 2 image of entries.
inline void LoadFlat(hollin::Dictionary& dictionary, const std::vector<ImageEntry>& entries)
{
    Load(dictionary, BuildFlat(entries).Image());
}

// A dictionary of one undamaged image.
struct Loaded : hollin::Dictionary
{
    explicit Loaded(const std::string& image, Way way = Way::kMemory)
    {
        Load(*this, image, way);
        EXPECT_TRUE(IsGood());
    }
};

inline hollin::ImageReport Check(const std::string& image)
{
    const std::vector<unsigned char> bytes(image.begin(), image.end());
    return hollin::CheckImage(bytes.data(), bytes.size());
}

// Returns the text that `ask` stores, or "(none)" if it returns false.
template <class Ask> std::u16string TextIf(const Ask& ask)
{
    const std::uint16_t* units = nullptr;
    std::uint32_t length = 1;
    if (ask(&units, &length))
        return std::u16string(units, units + length);
    return units || length ? u"(not cleared)" : u"(none)";
}

// The key has no prefix.
inline std::u16string TextOf(const hollin::Dictionary& dictionary, const std::string& key)
{
    return TextIf([&](auto units, auto length) {
        return dictionary.GetRawString(("$$$" + key).c_str(), units, length);
    });
}

inline std::u16string TextById(const hollin::Dictionary& dictionary, std::uint32_t id)
{
    return TextIf(
        [&](auto units, auto length) { return dictionary.GetRawStringById(id, units, length); });
}

inline std::u16string CommentOf(const hollin::Dictionary& dictionary, const std::string& key)
{
    return ToText(dictionary.GetComment(key.c_str()));
}

// The keys in the order of a walk, and the texts by key.
inline std::vector<std::string> KeysOf(hollin::Dictionary& dictionary)
{
    std::vector<std::string> keys;
    char key[hollin::kLongestRun + 2]; // a hash store has keys above the limit
    dictionary.ResetIterator();
    for (std::uint32_t id = 0; dictionary.NextId(&id);)
        keys.emplace_back(key, dictionary.CurrentKey(key, sizeof key, true));
    return keys;
}

inline KeyedTexts TextsOf(hollin::Dictionary& dictionary)
{
    KeyedTexts texts;
    for (const std::string& key : KeysOf(dictionary))
        texts[key] = TextOf(dictionary, key);
    return texts;
}

inline std::string Saved(const hollin::Dictionary& dictionary,
                         hollin::Dictionary::SerializeMode mode = hollin::Dictionary::kBinary,
                         bool bigEndian = false, std::uint32_t base = 0)
{
    const bool isBigHere = boost::endian::order::native == boost::endian::order::big;
    std::ostringstream stream;
    const std::size_t written =
        dictionary.Serialize(stream, mode, nullptr, bigEndian == isBigHere, base);
    EXPECT_EQ(written, stream.str().size());
    return stream.str();
}

// In its scope, bytes with a "z" can't be converted.
class ScRefusedConversion
{
public:
    static constexpr std::int32_t kCode = 1234; // of the exception

    ScRefusedConversion()
    {
        hollin::SetConversionHooks(
            [](const char* bytes, std::uint32_t length, std::uint32_t* count,
               hollin::TextEncoding) {
                *count = length;
                return std::memchr(bytes, 'z', length) ? kCode : 0;
            },
            nullptr, nullptr, nullptr);
    }
    ~ScRefusedConversion() { hollin::SetConversionHooks(nullptr, nullptr, nullptr, nullptr); }
    ScRefusedConversion(const ScRefusedConversion&) = delete;
    ScRefusedConversion& operator=(const ScRefusedConversion&) = delete;
};

#endif
