#include "utf8.h"

std::string ToUTF8(const hollin::ZString& text)
{
    const std::uint32_t encoding = hollin::kEncodingUTF8;
    std::string bytes(text.MultibyteLength(&encoding), '\0');
    text.ToMultibyte(bytes.data(), static_cast<std::uint32_t>(bytes.size()), true, &encoding);
    bytes.pop_back(); // the terminator
    return bytes;
}
