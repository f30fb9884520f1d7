// For targets whose inputs are two images.

#include <algorithm>
#include <vector>

#include "image_mutator.h"
#include "image_pair.h"

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed)
{
    const ImagePair pair = SplitPair(data, size);
    std::vector<std::uint8_t> first(pair.mFirst, pair.mFirst + pair.mFirstSize);
    std::vector<std::uint8_t> second(pair.mSecond, pair.mSecond + pair.mSecondSize);
    if (seed % 8 == 0)
        second = first; // so that both have the same keys
    std::vector<std::uint8_t>& changed = seed % 3 ? second : first;
    const std::size_t room = std::min<std::size_t>(maxSize / 2, 0xFFFF);
    const std::size_t before = changed.size();
    changed.resize(std::max(before, room));
    changed.resize(MutateImage(changed.data(), std::min(before, room), room, seed / 8));
    const std::size_t total = kPairPrefix + first.size() + second.size();
    if (total > maxSize)
        return size;
    data[0] = static_cast<std::uint8_t>(first.size());
    data[1] = static_cast<std::uint8_t>(first.size() >> 8);
    std::copy(first.begin(), first.end(), data + kPairPrefix);
    std::copy(second.begin(), second.end(), data + kPairPrefix + first.size());
    return total;
}
