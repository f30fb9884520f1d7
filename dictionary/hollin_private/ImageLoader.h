// Loads an image of any form into a dictionary.

#ifndef HOLLIN_PRIVATE_IMAGE_LOADER_H
#define HOLLIN_PRIVATE_IMAGE_LOADER_H

#include <cstddef>
#include <iosfwd>

#include "hollin_private/DictionaryImpl.h"

namespace hollin_private
{
// bytes may be null. Damage clears mGood. Keys of version 1 images point into
// the bytes unless copyKeys is set.
void LoadImageFromMemory(DictionaryImpl& dictionary, const unsigned char* bytes, std::size_t size,
                         bool copyKeys);

// Reads the stream to its end first. A stream that fails on the way counts as
// damaged, whether it throws or not, and nothing is loaded from it.
void LoadImageFromStream(DictionaryImpl& dictionary, std::istream& stream);
} // namespace hollin_private

#endif
