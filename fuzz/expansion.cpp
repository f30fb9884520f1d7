// The expansion of default texts never lengthens a text, and does not change a text without
// notations.

#include <algorithm>
#include <cstring>
#include <vector>

#include <hollin_private/Expansion.h>

#include "load.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::uint16_t> text(size / 2);
    if (!text.empty())
        std::memcpy(text.data(), data, text.size() * 2);
    const std::vector<std::uint16_t> before = text;
    const std::size_t count = hollin_private::ExpandText(text.data(), text.size());
    Require(count <= before.size());
    const bool plain = std::none_of(before.begin(), before.end(), [](std::uint16_t unit) {
        return unit == '^' || unit == '\\' || unit == '#';
    });
    Require(!plain || text == before);
    return 0;
}
