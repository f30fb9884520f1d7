// Texts as literals, loads of images, and the content of a dictionary.

#ifndef TESTS_DICTIONARY_LOADING_H
#define TESTS_DICTIONARY_LOADING_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

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
void Load(hollin::Dictionary& dictionary, const std::string& image, Way way = Way::kMemory);

// Loads a version 2 image of entries.
void LoadFlat(hollin::Dictionary& dictionary, const std::vector<ImageEntry>& entries,
              const FlatOptions& options = {});

// A dictionary of one undamaged image.
class Loaded : public hollin::Dictionary
{
public:
    explicit Loaded(const std::string& image, Way way = Way::kMemory);
};

hollin::ImageReport Check(const std::string& image);

// Return "(none)" for an absent entry. The key has no prefix.
std::u16string TextOf(const hollin::Dictionary& dictionary, const std::string& key);
std::u16string TextById(const hollin::Dictionary& dictionary, std::uint32_t id);
std::u16string CommentOf(const hollin::Dictionary& dictionary, const std::string& key);
std::string LocaleOf(const hollin::Dictionary& dictionary);

// The keys in the order of a walk, and the texts by key.
std::vector<std::string> KeysOf(hollin::Dictionary& dictionary);
KeyedTexts TextsOf(hollin::Dictionary& dictionary);

std::string Saved(const hollin::Dictionary& dictionary,
                  hollin::Dictionary::SerializeMode mode = hollin::Dictionary::kBinary,
                  bool bigEndian = false, std::uint32_t base = 0);

// In its scope, bytes with a "z" can't be converted.
class ScRefusedConversion
{
public:
    static constexpr std::int32_t kCode = 1234; // of the exception

    ScRefusedConversion();
    ~ScRefusedConversion();
    ScRefusedConversion(const ScRefusedConversion&) = delete;
    ScRefusedConversion& operator=(const ScRefusedConversion&) = delete;
};

#endif
