#include "hollin_private/ByteRun.h"

#include <algorithm>

namespace hollin_private
{
std::uint32_t HashKey(const ByteRun& key, std::uint32_t tableSize)
{
    const std::uint32_t step = std::max(key.mLength / 5, 1u);
    std::uint64_t sum = 0; // of at most nine bytes, so below 2^53: one division is enough
    for (std::uint64_t i = 0; i < key.mLength; i += step)
        sum = (sum << 5) + key.mBytes[i];
    return static_cast<std::uint32_t>(sum % tableSize);
}

ByteRunValue::ByteRunValue(const void* bytes, std::uint32_t length)
    : mLength(length), mBytes(CopyOf(ByteRun{static_cast<const unsigned char*>(bytes), length}))
{
}

void intrusive_ptr_add_ref(ByteRunValue* value)
{
    value->AddRef();
}

void intrusive_ptr_release(ByteRunValue* value)
{
    value->Release();
}
} // namespace hollin_private
