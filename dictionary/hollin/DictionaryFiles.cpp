// The operations of a dictionary that read and write its files.

#include <iostream>

#include "hollin/Dictionary.h"
#include "hollin_private/DictionaryImpl.h"
#include "hollin_private/ImageHeader.h"
#include "hollin_private/ImageLoader.h"
#include "hollin_private/ImageWriter.h"

namespace hollin
{
namespace
{
std::size_t Write(const hollin_private::DictionaryImpl& dictionary, Dictionary::SerializeMode mode,
                  const hollin_private::ImageOptions& options, std::ostream& stream)
{
    switch (mode)
    {
    case Dictionary::kBinary:
    case Dictionary::kBinaryWithoutKeys:
        return hollin_private::WriteImage(dictionary, options, stream);
    case Dictionary::kTextOfHash:
        if (dictionary.IsFlat())
            return hollin_private::WriteByteOrderMark(stream);
        return hollin_private::WriteText(dictionary, stream);
    case Dictionary::kText:
        return hollin_private::WriteText(dictionary, stream);
    }
    return 0;
}
} // namespace

void Dictionary::LoadFromMemory(const unsigned char* bytes, std::int32_t size, bool copyKeys)
{
    const std::size_t known = size > 0 ? static_cast<std::size_t>(size) : 0;
    hollin_private::LoadImageFromMemory(*mImpl, bytes, known, copyKeys);
}

void Dictionary::LoadFromStream(std::istream& stream)
{
    hollin_private::LoadImageFromStream(*mImpl, stream);
}

std::size_t Dictionary::Serialize(std::ostream& stream, SerializeMode mode, TextEncoding,
                                  int byteOrder, std::uint32_t base) const
{
    hollin_private::ImageOptions options;
    options.mBigEndian = hollin_private::NeedsSwap(byteOrder == 0);
    options.mBase = base;
    options.mWithoutKeys = mode == kBinaryWithoutKeys;
    if (!mImpl->IsFlat())
        return Write(*mImpl, mode, options, stream);
    try
    {
        return Write(*mImpl, mode, options, stream);
    }
    catch (...)
    {
        std::cerr << "Serialize2: Caught exception" << std::endl;
        return 0;
    }
}

std::size_t Dictionary::Serialize(std::ostream& stream, bool binary, TextEncoding encoding) const
{
    return Serialize(stream, binary ? kBinary : kText, encoding, 1, 0);
}
} // namespace hollin
