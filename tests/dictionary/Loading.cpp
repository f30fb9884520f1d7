#include "tests/dictionary/Loading.h"

#include <cstring>
#include <sstream>

#include <gtest/gtest.h>

#include <hollin/ConversionHooks.h>

namespace
{
std::u16string Wide(const std::uint16_t* units, std::size_t count)
{
    return std::u16string(units, units + count);
}
} // namespace

void Load(hollin::Dictionary& dictionary, const std::string& image, Way way)
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

void LoadFlat(hollin::Dictionary& dictionary, const std::vector<ImageEntry>& entries,
              const FlatOptions& options)
{
    Load(dictionary, BuildFlat(entries, options).Image());
}

Loaded::Loaded(const std::string& image, Way way)
{
    Load(*this, image, way);
    EXPECT_TRUE(IsGood());
}

hollin::ImageReport Check(const std::string& image)
{
    const std::vector<unsigned char> bytes(image.begin(), image.end());
    return hollin::CheckImage(bytes.data(), bytes.size());
}

std::u16string TextOf(const hollin::Dictionary& dictionary, const std::string& key)
{
    const std::uint16_t* units = nullptr;
    std::uint32_t length = 1;
    if (dictionary.GetRawString(("$$$" + key).c_str(), &units, &length))
        return Wide(units, length);
    return units || length ? u"(not cleared)" : u"(none)";
}

std::u16string TextById(const hollin::Dictionary& dictionary, std::uint32_t id)
{
    const std::uint16_t* units = nullptr;
    std::uint32_t length = 1;
    if (dictionary.GetRawStringById(id, &units, &length))
        return Wide(units, length);
    return units || length ? u"(not cleared)" : u"(none)";
}

std::u16string CommentOf(const hollin::Dictionary& dictionary, const std::string& key)
{
    return ToText(dictionary.GetComment(key.c_str()));
}

std::string LocaleOf(const hollin::Dictionary& dictionary)
{
    std::string name;
    for (const char16_t unit : ToText(dictionary.GetLanguage()))
        name.push_back(static_cast<char>(unit));
    return name;
}

std::vector<std::string> KeysOf(hollin::Dictionary& dictionary)
{
    std::vector<std::string> keys;
    std::vector<char> buffer(70000);
    dictionary.ResetIterator();
    for (std::uint32_t id = 0; dictionary.NextId(&id);)
    {
        const std::uint32_t length =
            dictionary.CurrentKey(buffer.data(), static_cast<std::uint32_t>(buffer.size()), true);
        keys.emplace_back(buffer.data(), length);
    }
    return keys;
}

KeyedTexts TextsOf(hollin::Dictionary& dictionary)
{
    KeyedTexts texts;
    for (const std::string& key : KeysOf(dictionary))
        texts[key] = TextOf(dictionary, key);
    return texts;
}

std::string Saved(const hollin::Dictionary& dictionary, hollin::Dictionary::SerializeMode mode,
                  bool bigEndian, std::uint32_t base)
{
    const std::uint16_t one = 1;
    const bool native = *reinterpret_cast<const unsigned char*>(&one) == !bigEndian;
    std::ostringstream stream;
    const std::size_t written = dictionary.Serialize(stream, mode, nullptr, native, base);
    EXPECT_EQ(written, stream.str().size());
    return stream.str();
}

ScRefusedConversion::ScRefusedConversion()
{
    hollin::SetConversionHooks(
        [](const char* bytes, std::uint32_t length, std::uint32_t* count, hollin::TextEncoding) {
            *count = length;
            return std::memchr(bytes, 'z', length) ? kCode : 0;
        },
        nullptr, nullptr, nullptr);
}

ScRefusedConversion::~ScRefusedConversion()
{
    hollin::SetConversionHooks(nullptr, nullptr, nullptr, nullptr);
}
