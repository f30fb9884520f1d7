// The stores and the state of a dictionary.

#ifndef HOLLIN_PRIVATE_DICTIONARY_IMPL_H
#define HOLLIN_PRIVATE_DICTIONARY_IMPL_H

#include <cstdint>
#include <optional>
#include <string>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include "hollin/ZString.h"
#include "hollin_private/ByteRun.h"
#include "hollin_private/FastArray.h"
#include "hollin_private/HashTable.h"

namespace hollin_private
{
class DictionaryEntry;

class DictionaryImpl
{
public:
    explicit DictionaryImpl(bool flat);
    DictionaryImpl(const DictionaryImpl&) = delete;
    DictionaryImpl& operator=(const DictionaryImpl&) = delete;
    ~DictionaryImpl();

    // Returns whether the flat store is in use. MakeFlat is permanent.
    bool IsFlat() const { return mFormatMajor >= 2; }
    void MakeFlat();

    // Shares the store of a flat dictionary. A hash dictionary is not shared.
    void ShareFrom(const DictionaryImpl& other);

    // Returns the entry of a key in the hash store, or null.
    const DictionaryEntry* FindEntry(const ByteRun& key) const;

    // Sets *text to the text of a key in the store in use. Returns false for an absent key.
    bool FindText(const ByteRun& key, hollin::ZString* text) const;

    // FindText by identifier. Returns false for a hash store.
    bool FindTextById(std::uint32_t id, hollin::ZString* text) const;

    // Return the key and the text of the walk's entry, empty outside a walk.
    ByteRun CurrentKey() const;
    hollin::ZString CurrentText() const;

    HashTable mHashTable; // of DictionaryEntry
    boost::intrusive_ptr<FastArray> mFastArray;
    bool mGood = true; // no load has found damage
    std::uint8_t mFormatMajor = 0;
    std::uint8_t mFormatMinor = 0;
    std::optional<std::string> mLocale;

    // The state of the walk of Dictionary::NextId.
    bool mIterAtStart = true;
    std::uint32_t mIterId = 0;
};

// The dictionary that look-ups read next, or null. Not owned.
const DictionaryImpl* DefaultDictionary();
void SetDefaultDictionary(const DictionaryImpl* dictionary);
} // namespace hollin_private

#endif
