// Checks that the mutator of images makes images of all layouts, most of them sound, with several
// entries, shared keys and comments; and that the library looks for keys in the buckets of the
// form.

#include <cstdio>
#include <random>
#include <vector>

#include <hollin/ImageCheck.h>

#include "image_form.h"

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed);

namespace
{
std::minstd_rand sRandom(1);

// Of keys of all lengths up to 99.
std::uint64_t CountUnreachable()
{
    ImageForm form;
    std::string key;
    for (std::uint32_t slot = 0; slot < 99; ++slot)
    {
        form.mSlots.push_back({key += static_cast<char>(slot + 150), "", "", false});
        form.AddToBucket(slot);
    }
    const std::string image = WriteForm(form).Image();
    return hollin::CheckImage(reinterpret_cast<const std::uint8_t*>(image.data()), image.size())
        .mUnreachable;
}
} // namespace

// Changes a byte, and adds or removes one.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize)
{
    if (size)
        data[sRandom() % size] = static_cast<std::uint8_t>(sRandom());
    if (size < maxSize && sRandom() % 2)
        data[size++] = static_cast<std::uint8_t>(sRandom());
    else if (size)
        --size;
    return size;
}

int main()
{
    const int kImages = 20000;
    const std::size_t kLongest = 1024;
    int sound = 0;
    int layouts[3] = {};
    int merged = 0; // of several entries with comments
    std::vector<std::uint8_t> image(kLongest);
    std::size_t size = 0;
    for (int i = 0; i < kImages; ++i)
    {
        size = LLVMFuzzerCustomMutator(image.data(), size, kLongest,
                                       static_cast<unsigned int>(sRandom()));
        const hollin::ImageReport report = hollin::CheckImage(image.data(), size);
        if (report.mForm != hollin::ImageReport::kBinary || report.mDamaged)
            continue;
        ++sound;
        ++layouts[report.mMajor == 2 ? 0 : report.mMinor == 5 ? 1 : 2];
        merged += report.mLive > 2 && report.mComments > 1;
    }
    std::printf("sound %d of %d; 2.x %d, 1.5 %d, 1.0 %d; with entries and comments %d\n", sound,
                kImages, layouts[0], layouts[1], layouts[2], merged);
    const bool isFine = sound > kImages / 2 && layouts[0] > kImages / 5 &&
                        layouts[1] > kImages / 50 && layouts[2] > kImages / 50 &&
                        merged > kImages / 20 && CountUnreachable() == 0;
    return isFine ? 0 : 1;
}
