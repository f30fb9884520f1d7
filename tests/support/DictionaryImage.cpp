#include "tests/support/DictionaryImage.h"

#include <cstring>
#include <map>

namespace
{
class ByteWriter
{
public:
    template <class Integer> void Put(Integer value)
    {
        mBytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
    }
    void PutBytes(const std::string& bytes) { mBytes += bytes; }
    void PutUnits(const std::u16string& units)
    {
        mBytes.append(reinterpret_cast<const char*>(units.data()), 2 * units.size());
    }
    DictionaryImage Image() const
    {
        DictionaryImage image = {std::vector<U_u16>((mBytes.size() + 1) / 2), mBytes.size()};
        std::memcpy(image.units.data(), mBytes.data(), mBytes.size());
        return image;
    }

private:
    std::string mBytes;
};

// At most nine bytes of a key count.
U_u16 BucketOf(const std::string& key)
{
    const size_t step = key.size() < 10 ? 1 : key.size() / 5;
    U_u32 hash = 0;
    for (size_t i = 0; i < key.size(); i += step)
        hash = ((hash << 5) + static_cast<unsigned char>(key[i])) % 1021;
    return static_cast<U_u16>(hash);
}

U_u32 Count(size_t count)
{
    return static_cast<U_u32>(count);
}

// Offsets and lengths of runs that follow each other.
void PutRuns(ByteWriter& out, const std::vector<size_t>& lengths)
{
    size_t offset = 0;
    for (size_t length : lengths)
    {
        out.Put(Count(offset));
        offset += length;
    }
    for (size_t length : lengths)
        out.Put(static_cast<U_u16>(length));
}
} // namespace

DictionaryImage BinaryImage(const std::vector<ImageEntry>& entries)
{
    std::string keys;
    std::u16string texts;
    std::vector<size_t> keyLengths;
    std::vector<size_t> textLengths;
    std::map<U_u16, std::vector<U_u32>> buckets;
    for (const ImageEntry& entry : entries)
    {
        buckets[BucketOf(entry.key)].push_back(Count(keyLengths.size()));
        keys += entry.key;
        texts += entry.text;
        keyLengths.push_back(entry.key.size());
        textLengths.push_back(2 * entry.text.size());
    }

    ByteWriter out;
    out.PutBytes(std::string("ZString Binary Format\2\7\0\0", 25));
    out.Put(5u);
    out.PutBytes("de_DE");
    out.Put(0u); // stands alone
    out.PutBytes("Y");
    out.Put(Count(entries.size()));
    out.Put(Count(entries.size()));
    out.Put(Count(buckets.size()));
    out.Put(Count(keys.size()));
    out.Put(Count(2 * texts.size()));
    PutRuns(out, keyLengths);
    PutRuns(out, textLengths);
    out.PutBytes(keys);
    out.PutUnits(texts);
    for (const auto& bucket : buckets)
        out.Put(bucket.first);
    for (const auto& bucket : buckets)
        out.Put(Count(bucket.second.size()));
    for (const auto& bucket : buckets)
    {
        for (U_u32 id : bucket.second)
            out.Put(id);
    }
    out.Put(0u); // no comments
    return out.Image();
}

DictionaryImage TextImage(const std::u16string& lines)
{
    ByteWriter out;
    out.PutUnits(u"\uFEFF" + lines);
    return out.Image();
}
