// Bytes that somebody else owns: a key, or a text as it is stored, which may
// stand at an odd address and have an odd length.

#ifndef HOLLIN_PRIVATE_BYTE_RUN_H
#define HOLLIN_PRIVATE_BYTE_RUN_H

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace hollin_private
{
struct ByteRun
{
    const unsigned char* mBytes = nullptr; // may be null if there are none
    std::uint32_t mLength = 0;
};

const std::uint32_t kUnitSize = sizeof(std::uint16_t);

// A text as it is stored; length is in bytes.
inline ByteRun StoredFormOf(const std::uint16_t* units, std::uint32_t length)
{
    return ByteRun{reinterpret_cast<const unsigned char*>(units), length};
}

// An owned copy of the bytes; null if there are none.
typedef std::unique_ptr<unsigned char[]> OwnedRun;

inline OwnedRun CopyOf(const ByteRun& run)
{
    if (!run.mLength)
        return nullptr;
    OwnedRun copy(new unsigned char[run.mLength]);
    std::memcpy(copy.get(), run.mBytes, run.mLength);
    return copy;
}

inline std::string_view ViewOf(const ByteRun& run)
{
    return std::string_view(reinterpret_cast<const char*>(run.mBytes), run.mLength);
}

inline bool operator==(const ByteRun& left, const ByteRun& right)
{
    return left.mLength == right.mLength &&
           (left.mLength == 0 || std::memcmp(left.mBytes, right.mBytes, left.mLength) == 0);
}
} // namespace hollin_private

#endif
