#include "dictionary_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <U_ZString.h>
#include <hollin/ImageCheck.h>

#include "system.h"

namespace
{
const size_t kMiB = 1 << 20;
const size_t kLargest = 64 * kMiB; // far more than the texts of any program
} // namespace

Message DictionaryFile::Read(const std::string& path)
{
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(OpenFile(path, "rb"), std::fclose);
    if (!file)
        return CantRead(path, std::strerror(errno));
    std::vector<U_u16> image;
    size_t size = 0;
    size_t got = 0;
    do
    {
        image.resize((size + kMiB) / sizeof(U_u16));
        got = std::fread(reinterpret_cast<char*>(image.data()) + size, 1, kMiB, file.get());
        size += got;
    } while (got == kMiB && size <= kLargest);
    if (std::ferror(file.get()))
        return CantRead(path, std::strerror(errno));
    if (size > kLargest)
        return {"$$$/QX/FileCache/Error/DictionaryTooLarge="
                "the dictionary ^^1 is too large: the limit is ^^2 MiB",
                {path, std::to_string(kLargest / kMiB)}};

    // The library shows English for a damaged dictionary and reports nothing.
    const auto bytes = reinterpret_cast<const unsigned char*>(image.data());
    const hollin::ImageReport report = hollin::CheckImage(bytes, size);
    if (report.mDamaged)
        return {"$$$/QX/FileCache/Error/DictionaryDamaged=the dictionary ^^1 is damaged: ^^2",
                {path, report.mSentence}};
    mImage.swap(image);
    mSize = size;
    return Message();
}

U_Status DictionaryFile::Use()
{
    return mSize ? U_ZStringSetCurrentDictionary(mImage.data(), mSize) : 0;
}
