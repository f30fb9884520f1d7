// Reads the fields of an image in turn, with bounds checks, and the header of an image.
//
// The cursor keeps the first damage. Every later read returns 0 or an empty table, so that a
// parser reads all its fields and checks the cursor once at the end.

#ifndef HOLLIN_PRIVATE_IMAGE_CURSOR_H
#define HOLLIN_PRIVATE_IMAGE_CURSOR_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <boost/endian/conversion.hpp>

namespace hollin_private
{
struct Damage
{
    std::size_t mOffset = 0;        // in bytes from the start of the image
    const char* mField = nullptr;   // the field's name, for messages; null without damage
    const char* mProblem = nullptr; // a clause, for messages
};

// Reads an integer at any alignment.
template <typename Integer> Integer LoadInteger(const unsigned char* bytes, bool swap)
{
    Integer value;
    std::memcpy(&value, bytes, sizeof value);
    return swap ? boost::endian::endian_reverse(value) : value;
}

// A table of integers in the bytes of an image.
template <typename Integer> class ImageTable
{
public:
    ImageTable() = default;
    ImageTable(const unsigned char* bytes, std::size_t size, bool swap)
        : mBytes(bytes), mSize(size), mSwap(swap)
    {
    }

    std::size_t Size() const { return mSize; }
    const unsigned char* At(std::size_t index) const { return mBytes + index * sizeof(Integer); }
    Integer operator[](std::size_t index) const { return LoadInteger<Integer>(At(index), mSwap); }

    // Copies `count` entries from the entry `first` in this machine's byte order.
    void CopyTo(Integer* out, std::size_t first, std::size_t count) const
    {
        if (!count)
            return;
        std::memcpy(out, At(first), count * sizeof(Integer));
        if (!mSwap)
            return;
        for (std::size_t i = 0; i < count; ++i)
            out[i] = boost::endian::endian_reverse(out[i]);
    }
    void CopyTo(Integer* out) const { CopyTo(out, 0, mSize); }

private:
    const unsigned char* mBytes = nullptr;
    std::size_t mSize = 0; // in entries
    bool mSwap = false;
};

class ImageCursor
{
public:
    // REQUIRES: the bytes outlive the cursor and the tables read by it.
    ImageCursor(const unsigned char* bytes, std::size_t size);

    // Sets whether the integers that are read next have the other byte order.
    void SetSwap(bool swap) { mSwap = swap; }
    bool Swap() const { return mSwap; }

    std::size_t Offset() const { return mOffset; }
    std::size_t OffsetOf(const unsigned char* at) const
    {
        return static_cast<std::size_t>(at - mBytes);
    }
    void Seek(std::size_t offset) { mOffset = offset <= mSize ? offset : mSize; }
    std::size_t Remaining() const { return mSize - mOffset; }

    // Returns the next bytes, or null if the image ends before them.
    const unsigned char* Take(std::uint64_t size, const char* field);

    // Returns the next integer, or 0 if the image ends before it.
    template <typename Integer> Integer Read(const char* field)
    {
        const unsigned char* at = Take(sizeof(Integer), field);
        return at ? LoadInteger<Integer>(at, mSwap) : Integer(0);
    }

    // Returns the next `size` integers, or an empty table if the image ends before them.
    template <typename Integer> ImageTable<Integer> ReadTable(std::size_t size, const char* field)
    {
        const unsigned char* at = Take(std::uint64_t(size) * sizeof(Integer), field);
        return at ? ImageTable<Integer>(at, size, mSwap) : ImageTable<Integer>();
    }

    // Only the first damage is kept.
    void SetDamaged(std::size_t offset, const char* field, const char* problem);
    void SetDamaged(const unsigned char* at, const char* field, const char* problem)
    {
        SetDamaged(OffsetOf(at), field, problem);
    }
    bool Sound() const { return !mDamage.mField; }
    const Damage& FirstDamage() const { return mDamage; }

private:
    const unsigned char* mBytes;
    std::size_t mSize;
    std::size_t mOffset = 0;
    bool mSwap = false;
    Damage mDamage;
};

// The 21 bytes at the start of every binary image.
const char kImageMagic[] = "ZString Binary Format";
const std::size_t kImageMagicLength = sizeof kImageMagic - 1; // without the terminator

// The version that is written.
const std::uint8_t kFlatMajor = 2;
const std::uint8_t kFlatMinor = 7;

enum class ImageLayout
{
    kEntries,       // 1.0: each entry with its lengths, by bucket
    kLengthTable,   // 1.5: all lengths, then all entries
    kFlat,          // 2.x: tables and pools
    kUnknownVersion // the bytes after the version can't be read
};

struct ImageHeader
{
    std::uint8_t mMajor = 0;
    std::uint8_t mMinor = 0;
    std::uint8_t mTextFlag = 0; // the encoding of version 1 values; 0 is UTF-16
    bool mBigEndian = false;    // of a flat image

    ImageLayout Layout() const;
};

// Returns whether the bytes are a binary image. All other bytes are the text form.
bool IsBinaryImage(const unsigned char* bytes, std::size_t size);

// Reads the header at the start of a binary image, and sets the byte order of the cursor to
// the image's. A version 1 image has the byte order of this machine.
ImageHeader ReadImageHeader(ImageCursor& cursor);

// Returns whether integers of that byte order are swapped on this machine.
bool NeedsSwap(bool bigEndian);
} // namespace hollin_private

#endif
