// An entry of a hash dictionary.

#ifndef HOLLIN_PRIVATE_DICTIONARY_ENTRY_H
#define HOLLIN_PRIVATE_DICTIONARY_ENTRY_H

#include "hollin/ZString.h"
#include "hollin_private/ByteRunKey.h"
#include "hollin_private/HashTable.h"

namespace hollin_private
{
class DictionaryEntry : public ByteRunKey
{
public:
    DictionaryEntry(const ByteRun& key, Ownership keyOwnership, const hollin::ZString& value)
        : ByteRunKey(key, keyOwnership), mValue(value)
    {
    }

    ByteRun StoredValue() const { return StoredFormOf(mValue.Data(), mValue.Length() * kUnitSize); }

    const hollin::ZString mValue;
};

// Calls visit(bucket, entry) for each entry of a table, chain by chain.
template <class Visit> void ForEachEntry(const HashTable& table, const Visit& visit)
{
    for (std::uint32_t bucket = 0; bucket < kBucketCount; ++bucket)
    {
        for (const HashItem* item = table.Chain(bucket); item; item = item->mNext)
            visit(bucket, static_cast<const DictionaryEntry&>(*item));
    }
}
} // namespace hollin_private

#endif
