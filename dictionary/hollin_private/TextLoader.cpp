#include "hollin_private/TextLoader.h"

#include <functional>
#include <string_view>
#include <unordered_set>

#include "hollin_private/DictionaryEntry.h"
#include "hollin_private/DictionaryReader.h"
#include "hollin_private/Expansion.h"
#include "hollin_private/TextForm.h"

namespace hollin_private
{
namespace
{
// Tells which keys are surely new to a dictionary, since a search for each line
// of a long text would walk chains that grow with it.
class KnownKeys
{
public:
    explicit KnownKeys(const DictionaryImpl& dictionary)
    {
        if (!dictionary.IsFlat())
        {
            ForEachEntry(dictionary.mHashTable,
                         [this](std::uint32_t, const DictionaryEntry& entry) { Add(entry.Key()); });
            return;
        }
        for (const FastArrayBlock& block : dictionary.mFastArray->Blocks())
        {
            for (std::size_t slot = 0; slot < block.mKeys.Size(); ++slot)
                Add(block.mKeys.Get(slot));
        }
    }

    // False if no key like it was added before.
    bool Add(const ByteRun& key)
    {
        const std::string_view bytes(reinterpret_cast<const char*>(key.mBytes), key.mLength);
        return !mHashes.insert(std::hash<std::string_view>()(bytes)).second;
    }

private:
    std::unordered_set<std::size_t> mHashes; // two keys may share one
};

bool IsBlank(const DictionaryReader& reader, const std::uint16_t* line, TextSource source)
{
    if (source == TextSource::kStream && reader.LineLength() == 1 && *line == kByteOrderMark)
        return true;
    return reader.LineLength() == 0;
}

bool Store(DictionaryImpl& dictionary, KnownKeys& known, TextEntry& entry)
{
    if (entry.mKey.size() > kLongestText || entry.mValue.size() > kLongestText)
        return false;
    const ByteRun key = {entry.mKey.data(), static_cast<std::uint32_t>(entry.mKey.size())};
    const std::size_t units = ExpandText(entry.mValue.data(), entry.mValue.size());
    const hollin::ZString value(entry.mValue.data(), static_cast<std::uint32_t>(units));
    // In a flat store an empty key may find a removed slot.
    const bool isNew = !known.Add(key) && key.mLength;
    return dictionary.Put(key, value,
                          isNew ? DictionaryImpl::kKeyIsNew : DictionaryImpl::kSearchKey);
}
} // namespace

void LoadText(DictionaryImpl& dictionary, const unsigned char* bytes, std::size_t size,
              TextSource source)
{
    const std::unique_ptr<DictionaryReader> reader = DictionaryReader::Make(bytes, size);
    KnownKeys known(dictionary);
    TextEntry entry;
    while (const std::uint16_t* line = reader->ReadLine())
    {
        if (IsBlank(*reader, line, source))
            continue;
        if (!ParseTextLine(line, reader->LineLength(), &entry) || !Store(dictionary, known, entry))
            dictionary.mGood = false;
    }
}
} // namespace hollin_private
