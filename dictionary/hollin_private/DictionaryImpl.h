// What a dictionary consists of.

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

    // Which store is in use.
    bool IsFlat() const { return mFormatMajor >= 2; }
    void MakeFlat(); // for good

    // Shares the store of a flat one; a hash dictionary changes nothing here.
    void ShareFrom(const DictionaryImpl& other);

    // Of the hash store; null if the key isn't there.
    const DictionaryEntry* FindEntry(const ByteRun& key) const;

    // The text of a key in the store in use. False if the key isn't there.
    bool FindText(const ByteRun& key, hollin::ZString* text) const;

    // Of a flat store. False for what isn't there, and for a hash store.
    bool FindTextById(std::uint32_t id, hollin::ZString* text) const;

    // What the walk stands at; empty outside a walk.
    ByteRun CurrentKey() const;
    hollin::ZString CurrentText() const;

    HashTable mHashTable; // of DictionaryEntry
    boost::intrusive_ptr<FastArray> mFastArray;
    bool mGood = true; // no load has met damage
    std::uint8_t mFormatMajor = 0;
    std::uint8_t mFormatMinor = 0;
    std::optional<std::string> mLocale;

    // The walk of Dictionary::NextId.
    bool mIterAtStart = true;
    std::uint32_t mIterId = 0;
};

// The dictionary that look-ups fall back on; null if there is none. Not owned.
const DictionaryImpl* DefaultDictionary();
void SetDefaultDictionary(const DictionaryImpl* dictionary);
} // namespace hollin_private

#endif
