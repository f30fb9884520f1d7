// An entry of a hash dictionary.

#ifndef HOLLIN_PRIVATE_DICTIONARY_ENTRY_H
#define HOLLIN_PRIVATE_DICTIONARY_ENTRY_H

#include "hollin/ZString.h"
#include "hollin_private/ByteRunKey.h"

namespace hollin_private
{
class DictionaryEntry : public ByteRunKey
{
public:
    DictionaryEntry(const ByteRun& key, Ownership keyOwnership, const hollin::ZString& value)
        : ByteRunKey(key, keyOwnership), mValue(value)
    {
    }

    const hollin::ZString mValue;
};
} // namespace hollin_private

#endif
