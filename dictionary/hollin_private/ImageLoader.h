// Loads an image of any form into a dictionary.

#ifndef HOLLIN_PRIVATE_IMAGE_LOADER_H
#define HOLLIN_PRIVATE_IMAGE_LOADER_H

#include <cstddef>
#include <iosfwd>

#include "hollin_private/DictionaryImpl.h"

namespace hollin_private
{
// `bytes` may be null. Damage clears mGood. Unless `copyKeys` is set, keys of version 1 images
// are in the bytes, which must then outlive the dictionary.
void LoadImageFromMemory(DictionaryImpl& dictionary, const unsigned char* bytes, std::size_t size,
                         bool copyKeys);

// Reads the stream to its end first. A stream that fails or throws before its end is damaged,
// and nothing of it is loaded.
void LoadImageFromStream(DictionaryImpl& dictionary, std::istream& stream);
} // namespace hollin_private

#endif
