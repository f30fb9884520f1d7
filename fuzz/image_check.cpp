// Does the check of an image agree with its load?

#include "check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RequireCheckAgrees(data, size);
    return 0;
}
