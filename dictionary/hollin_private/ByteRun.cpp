#include "hollin_private/ByteRun.h"

#include <algorithm>

namespace hollin_private
{
std::uint32_t HashKey(const ByteRun& key, std::uint32_t tableSize)
{
    const std::uint32_t step = std::max(key.mLength / 5, 1u);
    std::uint32_t hash = 0;
    for (std::uint64_t i = 0; i < key.mLength; i += step)
        hash = ((hash << 5) + key.mBytes[i]) % tableSize;
    return hash;
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
