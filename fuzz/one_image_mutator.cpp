// For targets whose inputs are images.

#include "image_mutator.h"

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed)
{
    return MutateImage(data, size, maxSize, seed);
}
