// A walk over the bytes of an image that never leaves them.
//
// The first damage that is found stays, and every read behind it gives nothing,
// so that a parser reads its fields in a row and looks at the end.

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
    std::size_t mOffset = 0;        // in bytes from the image's start
    const char* mField = nullptr;   // what people call the field; null while there is no damage
    const char* mProblem = nullptr; // a clause that says what is wrong
};

// Reads an integer at any alignment.
template <typename Integer> Integer LoadInteger(const unsigned char* bytes, bool swap)
{
    Integer value;
    std::memcpy(&value, bytes, sizeof value);
    return swap ? boost::endian::endian_reverse(value) : value;
}

// A table of integers in an image. The bytes belong to the image.
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

    // Copies count entries, from first on, in this machine's byte order.
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
    // The bytes must outlive the cursor and what is read from it.
    ImageCursor(const unsigned char* bytes, std::size_t size);

    // Whether the integers from here on have the other byte order.
    void SetSwap(bool swap) { mSwap = swap; }
    bool Swap() const { return mSwap; }

    std::size_t Offset() const { return mOffset; }
    std::size_t OffsetOf(const unsigned char* at) const
    {
        return static_cast<std::size_t>(at - mBytes);
    }
    void Seek(std::size_t offset) { mOffset = offset <= mSize ? offset : mSize; }
    std::size_t Remaining() const { return mSize - mOffset; }

    // The next bytes; null if the image ends before them.
    const unsigned char* Take(std::uint64_t size, const char* field);

    // The next integer; 0 if the image ends before it.
    template <typename Integer> Integer Read(const char* field)
    {
        const unsigned char* at = Take(sizeof(Integer), field);
        return at ? LoadInteger<Integer>(at, mSwap) : Integer(0);
    }

    // The next size integers; an empty table if the image ends before them.
    template <typename Integer> ImageTable<Integer> ReadTable(std::size_t size, const char* field)
    {
        const unsigned char* at = Take(std::uint64_t(size) * sizeof(Integer), field);
        return at ? ImageTable<Integer>(at, size, mSwap) : ImageTable<Integer>();
    }

    // Keeps the first damage.
    void Spoil(std::size_t offset, const char* field, const char* problem);
    void Spoil(const unsigned char* at, const char* field, const char* problem)
    {
        Spoil(OffsetOf(at), field, problem);
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
} // namespace hollin_private

#endif
