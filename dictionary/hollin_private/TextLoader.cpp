#include "hollin_private/TextLoader.h"

#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "hollin/Ids.h"
#include "hollin_private/DictionaryEntry.h"
#include "hollin_private/DictionaryReader.h"
#include "hollin_private/Expansion.h"
#include "hollin_private/TextForm.h"

namespace hollin_private
{
namespace
{
// Puts entries into a dictionary, with the place of each key that it has at hand:
// keys of one bucket may be many, so that a search for each line of a long text
// would walk chains that grow with it.
class TextStore
{
public:
    explicit TextStore(DictionaryImpl& dictionary) : mDictionary(dictionary)
    {
        if (dictionary.IsFlat())
            NoteIds();
        else
            NoteEntries();
    }

    // What was replaced goes last, all at once: a chain leads forward only, so
    // that taking out one entry would be a search too.
    ~TextStore() { mDictionary.mHashTable.Remove(mReplaced); }

    TextStore(const TextStore&) = delete;
    TextStore& operator=(const TextStore&) = delete;

    // Adds or replaces; an entry of a hash store that is replaced goes to the
    // head of its chain. False for a run too long for the store.
    bool Put(const ByteRun& key, const hollin::ZString& value)
    {
        return mDictionary.IsFlat() ? PutFlat(key, value) : PutHash(key, value);
    }

private:
    // Of equal keys the first one counts, and what stands in a bucket that isn't
    // its key's doesn't, as no search finds it.
    void NoteEntries()
    {
        ForEachEntry(mDictionary.mHashTable,
                     [this](std::uint32_t bucket, const DictionaryEntry& entry) {
                         if (entry.Hash(kBucketCount) == bucket)
                             mEntries.emplace(ViewOf(entry.Key()), &entry);
                     });
    }

    void NoteIds()
    {
        const FastArray& store = *mDictionary.mFastArray;
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
        const ByteRun stored = StoredFormOf(value.Data(), value.Length() * kUnitSize);
        const auto known = mIds.find(ViewOf(key));
        if (known != mIds.end())
            return store.Replace(known->second, stored, nullptr) != hollin::kNoId;
        const std::uint32_t id = store.AddNew(key, stored, nullptr);
        if (id == hollin::kNoId)
            return false;
        mIds.emplace(ViewOf(store.Key(id)), id);
        return true;
    }

    // The keys lie in the store, which moves and frees none during a load.
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
    if (entry.mKey.size() > kLongestText || entry.mValue.size() > kLongestText)
        return false;
    const ByteRun key = {entry.mKey.data(), static_cast<std::uint32_t>(entry.mKey.size())};
    const std::size_t units = ExpandText(entry.mValue.data(), entry.mValue.size());
    const hollin::ZString value(entry.mValue.data(), static_cast<std::uint32_t>(units));
    return store.Put(key, value);
}
} // namespace

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
        if (!ParseTextLine(line, reader->LineLength(), &entry) || !Put(store, entry))
            dictionary.mGood = false;
    }
}
} // namespace hollin_private
