// Loads images of any form from a stream.

#include "load.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
    hollin::Dictionary dictionary;
    Load([&] { dictionary.LoadFromStream(stream); });
    Use(dictionary);
    Load([&] {
        stream.clear();
        stream.seekg(0);
        dictionary.LoadFromStream(stream); // over itself
    });
    Use(dictionary);
    return 0;
}
