// The mutator of images.

#ifndef FUZZ_IMAGE_MUTATOR_H
#define FUZZ_IMAGE_MUTATOR_H

#include <cstddef>
#include <cstdint>

// Changes the bytes, as LLVMFuzzerCustomMutator does. Bytes that are no sound image are replaced
// by a new image.
std::size_t MutateImage(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                        unsigned int seed);

#endif
