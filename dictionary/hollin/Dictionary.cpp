#include "hollin/Dictionary.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <limits>
#include <utility>
#include <vector>

#include "hollin_private/Conversion.h"
#include "hollin_private/DictionaryImpl.h"
#include "hollin_private/Expansion.h"
#include "hollin_private/ImageCursor.h"
#include "hollin_private/ImageLoader.h"
#include "hollin_private/ImageWriter.h"

namespace hollin
{
using hollin_private::ByteRun;
using hollin_private::DefaultDictionary;
using hollin_private::DictionaryEntry;
using hollin_private::DictionaryImpl;
using hollin_private::FastArray;
using hollin_private::kUnitSize;
using hollin_private::RunOfUnits;

namespace
{
// The parts of a literal such as "$$$/QX/Greeting=Hello". They point into it.
struct ZStringLiteral
{
    ByteRun mKey;                       // up to the first "="
    const char* mDefaultText = nullptr; // null-terminated; empty if there is none
};

// Returns false for null, for the empty text, and for a text that begins with "$" but not
// with "$$$".
bool ParseZString(const char* text, ZStringLiteral* literal)
{
    static const char kPrefix[] = "$$$";
    const std::size_t prefixLength = sizeof kPrefix - 1;
    if (!text || !*text)
        return false;
    if (*text == '$')
    {
        if (std::strncmp(text, kPrefix, prefixLength) != 0)
            return false;
        text += prefixLength;
    }
    const std::size_t keyLength = std::strcspn(text, "=");
    if (keyLength > std::numeric_limits<std::uint32_t>::max())
        return false;
    literal->mKey = ByteRun{reinterpret_cast<const unsigned char*>(text),
                            static_cast<std::uint32_t>(keyLength)};
    literal->mDefaultText = text + keyLength + (text[keyLength] ? 1 : 0);
    return true;
}

ZString ExpandDefaultText(const char* text, TextEncoding encoding)
{
    const std::size_t length = std::strlen(text);
    if (length > std::numeric_limits<std::uint32_t>::max())
        throw VoErrException(VoErrException::kBadParameter);
    hollin_private::UnitBuffer units =
        hollin_private::ToUnits(text, static_cast<std::uint32_t>(length), encoding);
    const std::size_t count = hollin_private::ExpandText(units.data(), units.size());
    return ZString(units.data(), static_cast<std::uint32_t>(count));
}

// Returns the default dictionary, or null if there is none or it is this dictionary.
const DictionaryImpl* FallbackOf(const DictionaryImpl& dictionary)
{
    const DictionaryImpl* fallback = DefaultDictionary();
    return fallback == &dictionary ? nullptr : fallback;
}

// Returns the identifier of a literal's key in a flat store, or kNoId.
std::uint32_t FindId(const DictionaryImpl& dictionary, const char* key)
{
    ZStringLiteral literal;
    if (!dictionary.IsFlat() || !ParseZString(key, &literal))
        return kNoId;
    return dictionary.mFastArray->Find(literal.mKey);
}

typedef std::uint32_t (FastArray::*Adder)(const ByteRun&, const ByteRun&, const ByteRun*);

// Adds an entry with a literal's key to a flat store. Lengths are in bytes. Returns the
// identifier, or kNoId.
std::uint32_t AddTo(const DictionaryImpl& dictionary, Adder add, const char* key,
                    const std::uint16_t* value, std::uint32_t valueLength,
                    const std::uint16_t* comment, std::uint32_t commentLength)
{
    ZStringLiteral literal;
    if (!dictionary.IsFlat() || !ParseZString(key, &literal) || (!value && valueLength))
        return kNoId;
    const ByteRun storedComment = RunOfUnits(comment, commentLength);
    return ((*dictionary.mFastArray).*add)(literal.mKey, RunOfUnits(value, valueLength),
                                           comment ? &storedComment : nullptr);
}

int ReturnRawString(const std::uint16_t* found, std::uint32_t count, const std::uint16_t** units,
                    std::uint32_t* length)
{
    static const std::uint16_t kEmpty = 0;
    *units = found ? found : &kEmpty;
    *length = count;
    return 1;
}

// The run is aligned: a load checks the offsets for it.
int ReturnRawRun(const ByteRun& value, const std::uint16_t** units, std::uint32_t* length)
{
    return ReturnRawString(reinterpret_cast<const std::uint16_t*>(value.mBytes),
                           value.mLength / kUnitSize, units, length);
}

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

typedef std::pair<std::uint32_t, std::unique_ptr<Dictionary>> RegisteredDictionary;

std::vector<RegisteredDictionary>& Registry()
{
    static std::vector<RegisteredDictionary> sDictionaryRegistry;
    return sDictionaryRegistry;
}
} // namespace

Dictionary::Dictionary() : Dictionary(false) {}

Dictionary::Dictionary(bool flat) : mImpl(new DictionaryImpl(flat)) {}

Dictionary::Dictionary(const Dictionary& other) : Dictionary()
{
    mImpl->ShareFrom(*other.mImpl);
}

Dictionary& Dictionary::operator=(const Dictionary& other)
{
    mImpl->ShareFrom(*other.mImpl);
    return *this;
}

Dictionary::~Dictionary() = default;

ZString Dictionary::GetString(const char* keyAndDefault, TextEncoding encoding) const
{
    ZStringLiteral literal;
    if (!ParseZString(keyAndDefault, &literal))
        return ZString();
    ZString text;
    if (mImpl->FindText(literal.mKey, &text))
        return text;
    const DictionaryImpl* fallback = FallbackOf(*mImpl);
    if (fallback && fallback->FindText(literal.mKey, &text))
        return text;
    return ExpandDefaultText(literal.mDefaultText, encoding);
}

ZString Dictionary::GetStringById(std::uint32_t id) const
{
    ZString text;
    if (mImpl->FindTextById(id, &text))
        return text;
    if (const DictionaryImpl* fallback = FallbackOf(*mImpl))
        fallback->FindTextById(id, &text);
    return text;
}

std::uint32_t Dictionary::GetId(const char* key) const
{
    return FindId(*mImpl, key);
}

bool Dictionary::HasString(const char* key) const
{
    if (mImpl->IsFlat())
        return FindId(*mImpl, key) != kNoId;
    ZStringLiteral literal;
    return ParseZString(key, &literal) && mImpl->FindEntry(literal.mKey);
}

int Dictionary::GetRawString(const char* key, const std::uint16_t** units,
                             std::uint32_t* length) const
{
    *units = nullptr;
    *length = 0;
    ZStringLiteral literal;
    if (!ParseZString(key, &literal))
        return 0;
    if (mImpl->IsFlat())
    {
        ByteRun value;
        const std::uint32_t id = mImpl->mFastArray->Find(literal.mKey, &value);
        const bool isLive = literal.mKey.mLength ? id != kNoId : mImpl->mFastArray->IsLive(id);
        return isLive ? ReturnRawRun(value, units, length) : 0;
    }
    const DictionaryEntry* entry = mImpl->FindEntry(literal.mKey);
    return entry ? ReturnRawString(entry->mValue.Data(), entry->mValue.Length(), units, length) : 0;
}

int Dictionary::GetRawStringById(std::uint32_t id, const std::uint16_t** units,
                                 std::uint32_t* length) const
{
    *units = nullptr;
    *length = 0;
    const FastArray& store = *mImpl->mFastArray;
    if (!mImpl->IsFlat() || !store.IsLive(id))
        return 0;
    return ReturnRawRun(store.Value(id), units, length);
}

ZString Dictionary::GetComment(const char* key) const
{
    return GetCommentById(FindId(*mImpl, key));
}

ZString Dictionary::GetCommentById(std::uint32_t id) const
{
    if (!mImpl->IsFlat())
        return ZString();
    const ByteRun comment = mImpl->mFastArray->Comment(id);
    return ZString::FromUTF16Bytes(comment.mBytes, comment.mLength);
}

std::uint32_t Dictionary::SetString(const char* key, const std::uint16_t* value,
                                    std::uint32_t byteLength, const std::uint16_t* comment,
                                    std::uint32_t commentLength)
{
    return AddTo(*mImpl, &FastArray::Add, key, value, byteLength, comment, commentLength);
}

std::uint32_t Dictionary::AddString(const char* key, const std::uint16_t* value,
                                    std::uint32_t byteLength, const std::uint16_t* comment,
                                    std::uint32_t commentLength)
{
    return AddTo(*mImpl, &FastArray::AddNew, key, value, byteLength, comment, commentLength);
}

std::uint32_t Dictionary::RemoveString(const char* key)
{
    return mImpl->mFastArray->Remove(FindId(*mImpl, key));
}

ZString Dictionary::GetLanguage() const
{
    return mImpl->mLocale ? ZString(mImpl->mLocale->c_str()) : ZString();
}

void Dictionary::SetLanguage(const char* name)
{
    if (mImpl->IsFlat() && name && *name)
        mImpl->mLocale = name;
}

void Dictionary::ResetIterator()
{
    mImpl->mIterAtStart = true;
    mImpl->mHashTable.ResetIterator();
}

bool Dictionary::NextId(std::uint32_t* id)
{
    std::uint32_t next = mImpl->mIterAtStart ? 0 : mImpl->mIterId + 1;
    bool found = false;
    if (mImpl->IsFlat())
    {
        // The first slot is returned even if it is removed.
        const FastArray& store = *mImpl->mFastArray;
        while (next > 0 && next < store.TotalIds() && !store.IsLive(next))
            ++next;
        found = next < store.TotalIds();
    }
    else
        found = mImpl->mHashTable.Next();
    mImpl->mIterAtStart = !found;
    if (found)
        *id = mImpl->mIterId = next;
    return found;
}

std::string Dictionary::CurrentKey() const
{
    if (!mImpl->IsFlat())
        return std::string();
    const ByteRun key = mImpl->CurrentKey();
    return std::string(reinterpret_cast<const char*>(key.mBytes), key.mLength);
}

std::uint32_t Dictionary::CurrentKey(char* buffer, std::uint32_t size, bool throwIfShort) const
{
    const ByteRun key = mImpl->CurrentKey();
    if (buffer && size)
    {
        const std::uint32_t copied = std::min(key.mLength, size - 1);
        std::copy_n(key.mBytes, copied, buffer);
        buffer[copied] = 0;
        if (copied == key.mLength)
            return key.mLength;
    }
    if (throwIfShort)
        throw VoErrException(VoErrException::kBufferTooSmall);
    return key.mLength;
}

ZString Dictionary::CurrentText() const
{
    return mImpl->CurrentText();
}

void Dictionary::LoadFromMemory(const unsigned char* bytes, std::int32_t size, bool copyKeys)
{
    const std::size_t known = size > 0 ? static_cast<std::size_t>(size) : 0;
    hollin_private::LoadImageFromMemory(*mImpl, bytes, known, copyKeys);
}

void Dictionary::LoadFromStream(std::istream& stream)
{
    hollin_private::LoadImageFromStream(*mImpl, stream);
}

bool Dictionary::IsGood() const
{
    return mImpl->mGood;
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

Dictionary& Dictionary::ForDomain(std::uint32_t domain)
{
    std::vector<RegisteredDictionary>& registry = Registry();
    const auto isDomain = [=](const RegisteredDictionary& entry) { return entry.first == domain; };
    const auto found = std::find_if(registry.rbegin(), registry.rend(), isDomain);
    if (found != registry.rend())
        return *found->second;
    registry.emplace_back(domain, std::make_unique<Dictionary>());
    return *registry.back().second;
}

Dictionary& Dictionary::SetDefaultDictionary(std::uint32_t domain)
{
    Dictionary& dictionary = ForDomain(domain);
    hollin_private::SetDefaultDictionary(dictionary.mImpl.get());
    return dictionary;
}
} // namespace hollin
