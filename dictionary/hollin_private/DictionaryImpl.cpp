#include "hollin_private/DictionaryImpl.h"

#include "hollin/Limits.h"
#include "hollin_private/HashTable.h"
#include "hollin_private/ImageCursor.h"

namespace hollin_private
{
namespace
{
// Read by every look-up. Written by one thread while no thread looks up.
const DictionaryImpl* sDefaultDictionary = nullptr;

hollin::ZString TextOf(const ByteRun& stored)
{
    return hollin::ZString::FromUTF16Bytes(stored.mBytes, stored.mLength);
}
} // namespace

DictionaryImpl::DictionaryImpl(bool flat) : mFastArray(new FastArray)
{
    if (flat)
        MakeFlat();
}

DictionaryImpl::~DictionaryImpl()
{
    if (sDefaultDictionary == this)
        sDefaultDictionary = nullptr;
}

void DictionaryImpl::MakeFlat()
{
    mFormatMajor = kFlatMajor;
    mFormatMinor = kFlatMinor;
}

void DictionaryImpl::ShareFrom(const DictionaryImpl& other)
{
    if (!other.IsFlat() || &other == this)
        return;
    mLocale = other.mLocale;
    mFastArray = other.mFastArray;
    mFormatMajor = other.mFormatMajor;
    mFormatMinor = other.mFormatMinor;
    mIterAtStart = true;
}

const DictionaryEntry* DictionaryImpl::FindEntry(const ByteRun& key) const
{
    const ByteRunKey wanted(key, ByteRunKey::kBorrow);
    return static_cast<const DictionaryEntry*>(mHashTable.Find(wanted));
}

bool DictionaryImpl::FindText(const ByteRun& key, hollin::ZString* text) const
{
    if (IsFlat())
    {
        ByteRun value;
        if (mFastArray->Find(key, &value) == hollin::kNoId)
            return false;
        *text = TextOf(value);
        return true;
    }
    const DictionaryEntry* entry = FindEntry(key);
    if (!entry)
        return false;
    *text = entry->mValue;
    return true;
}

bool DictionaryImpl::FindTextById(std::uint32_t id, hollin::ZString* text) const
{
    if (!IsFlat() || !mFastArray->IsLive(id))
        return false;
    *text = TextOf(mFastArray->Value(id));
    return true;
}

ByteRun DictionaryImpl::CurrentKey() const
{
    if (mIterAtStart)
        return ByteRun();
    if (IsFlat())
        return mFastArray->Key(mIterId);
    const auto* entry = static_cast<const DictionaryEntry*>(mHashTable.IteratorItem());
    return entry ? entry->Key() : ByteRun();
}

hollin::ZString DictionaryImpl::CurrentText() const
{
    if (mIterAtStart)
        return hollin::ZString();
    if (IsFlat())
        return TextOf(mFastArray->Value(mIterId));
    const auto* entry = static_cast<const DictionaryEntry*>(mHashTable.IteratorItem());
    return entry ? entry->mValue : hollin::ZString();
}

const DictionaryImpl* DefaultDictionary()
{
    return sDefaultDictionary;
}

void SetDefaultDictionary(const DictionaryImpl* dictionary)
{
    sDefaultDictionary = dictionary;
}
} // namespace hollin_private
