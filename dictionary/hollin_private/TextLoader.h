// Loads the text form into a dictionary.

#ifndef HOLLIN_PRIVATE_TEXT_LOADER_H
#define HOLLIN_PRIVATE_TEXT_LOADER_H

#include <cstddef>

#include "hollin_private/DictionaryImpl.h"

namespace hollin_private
{
enum class TextSource
{
    kMemory,
    kStream // a line of nothing but a byte-order mark is passed over
};

// A line that can't be stored is left out and clears mGood.
void LoadText(DictionaryImpl& dictionary, const unsigned char* bytes, std::size_t size,
              TextSource source);
} // namespace hollin_private

#endif
