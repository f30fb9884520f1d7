#include "hollin_private/TextForm.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "hollin_private/DictionaryReader.h"
#include "hollin_private/Expansion.h"
#include "hollin_private/ImageCursor.h"

namespace hollin_private
{
namespace
{
const char kPrefix[] = "$$$";
const std::size_t kPrefixLength = sizeof kPrefix - 1;

struct Units
{
    const std::uint16_t* mBegin;
    const std::uint16_t* mEnd;

    std::size_t Size() const { return static_cast<std::size_t>(mEnd - mBegin); }
};

// Returns the first double quote without a backslash before it, or the end.
const std::uint16_t* FindQuote(const Units& units)
{
    for (const std::uint16_t* unit = units.mBegin; unit != units.mEnd; ++unit)
    {
        if (*unit == '"' && (unit == units.mBegin || unit[-1] != '\\'))
            return unit;
    }
    return units.mEnd;
}

// Returns the text between the first two quotes, the text after a single quote, or the whole
// line if it has none.
Units EntryOf(const Units& line)
{
    const std::uint16_t* const opening = FindQuote(line);
    if (opening == line.mEnd)
        return line;
    const Units quoted = {opening + 1, line.mEnd};
    return {quoted.mBegin, FindQuote(quoted)};
}

void AppendEscaped(std::uint16_t unit, std::vector<std::uint16_t>& text)
{
    switch (unit)
    {
    case '\n':
        text.insert(text.end(), {'\\', 'n'});
        break;
    case '\r':
        text.insert(text.end(), {'\\', 'r'});
        break;
    case '"':
        text.insert(text.end(), {'\\', '"'});
        break;
    default:
        text.push_back(unit);
    }
}

// Adds entries to a dictionary, with an index of all its keys. Without the index, each line of
// a text would search a chain whose length grows with the text.
class TextStore
{
public:
    explicit TextStore(DictionaryImpl& dictionary) : mDictionary(dictionary)
    {
        if (dictionary.IsFlat())
            IndexIds();
        else
            IndexEntries();
    }

    // All replaced entries are removed in one pass. Chains are linked forward only, so that
    // the removal of a single entry would search its chain.
    ~TextStore() { mDictionary.mHashTable.Remove(mReplaced); }

    TextStore(const TextStore&) = delete;
    TextStore& operator=(const TextStore&) = delete;

    // Adds or replaces an entry. A hash store inserts the new entry at the head of its chain.
    // Returns false for a run too long for the store.
    bool Put(const ByteRun& key, const hollin::ZString& value)
    {
        return mDictionary.IsFlat() ? PutFlat(key, value) : PutHash(key, value);
    }

private:
    // Only entries that a search finds are indexed: the first of equal keys, and none in the
    // bucket of another key.
    void IndexEntries()
    {
        ForEachEntry(mDictionary.mHashTable,
                     [this](std::uint32_t bucket, const DictionaryEntry& entry) {
                         if (entry.Hash(kBucketCount) == bucket)
                             mEntries.emplace(ViewOf(entry.Key()), &entry);
                     });
    }

    void IndexIds()
    {
        const FastArray& store = *mDictionary.mFastArray;
        if (!store.TotalIds())
            return;
        for (std::uint32_t bucket = 0; bucket < kBucketCount; ++bucket)
        {
            for (const std::uint32_t id : store.Buckets().Get(bucket))
            {
                const ByteRun key = store.Key(id); // empty if the entry is removed
                if (HashKey(key, kBucketCount) == bucket)
                    mIds.emplace(ViewOf(key), id);
            }
        }
    }

    bool PutHash(const ByteRun& key, const hollin::ZString& value)
    {
        auto entry = std::make_unique<DictionaryEntry>(key, ByteRunKey::kCopy, value);
        const HashItem*& known = mEntries[ViewOf(entry->Key())];
        if (known)
            mReplaced.insert(known);
        known = entry.get();
        mDictionary.mHashTable.Insert(std::move(entry));
        return true;
    }

    bool PutFlat(const ByteRun& key, const hollin::ZString& value)
    {
        FastArray& store = *mDictionary.mFastArray;
        const ByteRun stored = RunOfUnits(value.Data(), value.Length() * kUnitSize);
        const auto known = mIds.find(ViewOf(key));
        if (known != mIds.end())
            return store.Replace(known->second, stored, nullptr) != hollin::kNoId;
        const std::uint32_t id = store.AddNew(key, stored, nullptr);
        if (id == hollin::kNoId)
            return false;
        mIds.emplace(ViewOf(store.Key(id)), id);
        return true;
    }

    // The keys in the index are in the store, which moves and frees no key during a load.
    DictionaryImpl& mDictionary;
    std::unordered_map<std::string_view, std::uint32_t> mIds;       // of a flat store
    std::unordered_map<std::string_view, const HashItem*> mEntries; // of a hash store
    std::unordered_set<const HashItem*> mReplaced;
};

bool IsBlank(const DictionaryReader& reader, const std::uint16_t* line, TextSource source)
{
    if (source == TextSource::kStream && reader.LineLength() == 1 && *line == kByteOrderMark)
        return true;
    return reader.LineLength() == 0;
}

bool Put(TextStore& store, TextEntry& entry)
{
    const ByteRun key = {entry.mKey.data(), static_cast<std::uint32_t>(entry.mKey.size())};
    const std::size_t units = ExpandText(entry.mValue.data(), entry.mValue.size());
    const hollin::ZString value(entry.mValue.data(), static_cast<std::uint32_t>(units));
    return store.Put(key, value);
}
} // namespace

bool ParseTextLine(const std::uint16_t* line, std::size_t length, TextEntry* entry)
{
    Units units = EntryOf({line, line + length});
    if (units.Size() && *units.mBegin == '$')
    {
        if (units.Size() < kPrefixLength ||
            !std::equal(kPrefix, kPrefix + kPrefixLength, units.mBegin))
            return false;
        units.mBegin += kPrefixLength;
    }
    const std::uint16_t* const separator = std::find(units.mBegin, units.mEnd, '=');
    entry->mWrittenKey = units.mBegin;
    entry->mKey.resize(static_cast<std::size_t>(separator - units.mBegin));
    std::transform(units.mBegin, separator, entry->mKey.begin(),
                   [](std::uint16_t unit) { return static_cast<unsigned char>(unit); });
    entry->mValue.assign(separator == units.mEnd ? separator : separator + 1, units.mEnd);
    return true;
}

void AppendTextLine(const ByteRun& key, const ByteRun& value, std::vector<std::uint16_t>& text)
{
    text.push_back('"');
    text.insert(text.end(), key.mBytes, key.mBytes + key.mLength);
    text.push_back('=');
    for (std::uint32_t i = 0; i + 1 < value.mLength; i += 2)
        AppendEscaped(LoadInteger<std::uint16_t>(value.mBytes + i, false), text);
    text.insert(text.end(), {'"', '\r', '\n'});
}

void LoadText(DictionaryImpl& dictionary, const unsigned char* bytes, std::size_t size,
              TextSource source)
{
    const std::unique_ptr<DictionaryReader> reader = DictionaryReader::Make(bytes, size);
    TextStore store(dictionary);
    TextEntry entry;
    while (const std::uint16_t* line = reader->ReadLine())
    {
        if (IsBlank(*reader, line, source))
            continue;
        if (reader->LineLength() > kLongestText ||
            !ParseTextLine(line, reader->LineLength(), &entry) || !Put(store, entry))
            dictionary.mGood = false;
    }
}
} // namespace hollin_private
