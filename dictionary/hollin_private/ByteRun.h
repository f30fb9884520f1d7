// Runs of bytes: keys and texts, borrowed, owned and shared, and the hash of a key.

#ifndef HOLLIN_PRIVATE_BYTE_RUN_H
#define HOLLIN_PRIVATE_BYTE_RUN_H

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include "hollin/Limits.h"

namespace hollin_private
{
// Borrowed bytes: a key, or a text in UTF-16. A text may be unaligned and have an odd
// length.
struct ByteRun
{
    const unsigned char* mBytes = nullptr; // may be null if mLength is 0
    std::uint32_t mLength = 0;
};

const std::uint32_t kUnitSize = sizeof(std::uint16_t);

inline ByteRun RunOfUnits(const std::uint16_t* units, std::uint32_t byteLength)
{
    return ByteRun{reinterpret_cast<const unsigned char*>(units), byteLength};
}

inline std::string_view ViewOf(const ByteRun& run)
{
    return std::string_view(reinterpret_cast<const char*>(run.mBytes), run.mLength);
}

// REQUIRES: the text is below 4 GiB.
inline ByteRun RunOf(std::string_view text)
{
    return ByteRun{reinterpret_cast<const unsigned char*>(text.data()),
                   static_cast<std::uint32_t>(text.size())};
}

inline bool operator==(const ByteRun& left, const ByteRun& right)
{
    return left.mLength == right.mLength &&
           (left.mLength == 0 || std::memcmp(left.mBytes, right.mBytes, left.mLength) == 0);
}

typedef std::unique_ptr<unsigned char[]> OwnedRun;

// Returns null for an empty run.
inline OwnedRun CopyOf(const ByteRun& run)
{
    if (!run.mLength)
        return nullptr;
    OwnedRun copy(new unsigned char[run.mLength]);
    std::memcpy(copy.get(), run.mBytes, run.mLength);
    return copy;
}

using hollin::kBucketCount;

// Reads at most nine bytes of the key. The hash of an empty key is 0.
std::uint32_t HashKey(const ByteRun& key, std::uint32_t tableSize);

// The base of objects with a reference count. The last release deletes the object. A copy
// starts at 0.
//
// The count is not atomic: the object belongs to one thread at a time, or to code that holds
// a lock.
class RefCountObj : public boost::intrusive_ref_counter<RefCountObj, boost::thread_unsafe_counter>
{
public:
    virtual ~RefCountObj() = default;

    void AddRef() { intrusive_ptr_add_ref(this); }
    void Release() { intrusive_ptr_release(this); }
    bool IsReferenced() const { return use_count() > 0; }
    bool IsShared() const { return use_count() > 1; }

protected:
    RefCountObj() = default;
    RefCountObj(const RefCountObj&) = default;
    RefCountObj& operator=(const RefCountObj&) = delete;
};

// A shared copy of bytes.
class ByteRunValue : public RefCountObj
{
public:
    ByteRunValue(const void* bytes, std::uint32_t length);

    std::uint32_t Length() const { return mLength; }            // in bytes
    const unsigned char* Bytes() const { return mBytes.get(); } // null if mLength is 0

private:
    const std::uint32_t mLength;
    const OwnedRun mBytes;
};

// For code that only declares ByteRunValue.
void intrusive_ptr_add_ref(ByteRunValue* value);
void intrusive_ptr_release(ByteRunValue* value);
} // namespace hollin_private

#endif
