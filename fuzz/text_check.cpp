// Does the check of a text agree with its load?

#include "check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = TextOf(data, size);
    RequireCheckAgrees(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    return 0;
}
