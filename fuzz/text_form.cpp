// Reads the text form, writes it as an image and reads the image: the texts are the same.

#include "load.h"

#include <vector>

namespace
{
void RequireSameTexts(hollin::Dictionary& left, hollin::Dictionary& right)
{
    std::uint32_t id = 0;
    left.ResetIterator();
    while (left.NextId(&id))
    {
        std::vector<char> key(left.CurrentKey(nullptr, 0, false) + 1);
        left.CurrentKey(key.data(), static_cast<std::uint32_t>(key.size()), false);
        const std::string name(key.data());
        if (name.size() + 1 != key.size() || name.empty() || name[0] == '$' ||
            name.find('=') != std::string::npos)
            continue; // no ZString can name it
        Require(right.HasString(name.c_str()));
        Require(left.GetString(name.c_str()) == right.GetString(name.c_str()));
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string prefix = size % 2 ? "\xFF\xFE" : size % 4 ? "\xFE\xFF" : "";
    const std::string text = prefix + std::string(reinterpret_cast<const char*>(data), size);
    hollin::Dictionary read;
    Load([&] {
        read.LoadFromMemory(reinterpret_cast<const unsigned char*>(text.data()),
                            static_cast<std::int32_t>(text.size()), true);
    });
    std::ostringstream image;
    read.Serialize(image, hollin::Dictionary::kBinary, nullptr, size % 3 ? 1 : 0, 0);
    const std::string bytes = image.str();
    hollin::Dictionary again;
    again.LoadFromMemory(reinterpret_cast<const unsigned char*>(bytes.data()),
                         static_cast<std::int32_t>(bytes.size()), true);
    Require(again.IsGood());
    RequireSameTexts(read, again);
    return 0;
}
