// An input of two images: the size of the first image in two bytes, then both images.

#ifndef FUZZ_IMAGE_PAIR_H
#define FUZZ_IMAGE_PAIR_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

const std::size_t kPairPrefix = 2;

struct ImagePair
{
    const std::uint8_t* mFirst;
    std::size_t mFirstSize;
    const std::uint8_t* mSecond;
    std::size_t mSecondSize;
};

// A shorter input than the prefix says has a shorter first image, and no second.
inline ImagePair SplitPair(const std::uint8_t* data, std::size_t size)
{
    if (size < kPairPrefix)
        return {data, 0, data, 0};
    const std::size_t wanted = data[0] | std::size_t(data[1]) << 8;
    const std::size_t first = std::min(wanted, size - kPairPrefix);
    const std::uint8_t* const begin = data + kPairPrefix;
    return {begin, first, begin + first, size - kPairPrefix - first};
}

#endif
