// Loading images in tests, and looking at what a dictionary holds.

#ifndef TESTS_DICTIONARY_LOADING_H
#define TESTS_DICTIONARY_LOADING_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <hollin/Dictionary.h>
#include <hollin/ImageCheck.h>

#include "tests/dictionary/Texts.h"

typedef std::map<std::string, std::u16string> KeyedTexts;

enum class Way
{
    kMemory,
    kStream
};
const Way kWays[] = {Way::kMemory, Way::kStream};

// From a block of exactly the image's size, so that the sanitizers see a read
// beyond it. Keys are copied.
void Load(hollin::Dictionary& dictionary, const std::string& image, Way way = Way::kMemory);

// A dictionary of one image, which is sound.
class Loaded : public hollin::Dictionary
{
public:
    explicit Loaded(const std::string& image, Way way = Way::kMemory);
};

hollin::ImageReport Check(const std::string& image);

// "(none)" if the dictionary doesn't have the key, which is without a prefix.
std::u16string TextOf(const hollin::Dictionary& dictionary, const std::string& key);
std::u16string TextById(const hollin::Dictionary& dictionary, std::uint32_t id);
std::u16string CommentOf(const hollin::Dictionary& dictionary, const std::string& key);
std::string LocaleOf(const hollin::Dictionary& dictionary);

// Keys in the order of a walk, and their texts.
std::vector<std::string> KeysOf(hollin::Dictionary& dictionary);
KeyedTexts TextsOf(hollin::Dictionary& dictionary);

std::string Saved(const hollin::Dictionary& dictionary,
                  hollin::Dictionary::SerializeMode mode = hollin::Dictionary::kBinary,
                  bool bigEndian = false, std::uint32_t base = 0);

// Bytes with a "z" can't be converted, until the scope ends.
class ScRefusedConversion
{
public:
    static constexpr std::int32_t kCode = 1234; // of what is thrown

    ScRefusedConversion();
    ~ScRefusedConversion();
    ScRefusedConversion(const ScRefusedConversion&) = delete;
    ScRefusedConversion& operator=(const ScRefusedConversion&) = delete;
};

#endif
