#include "hollin_private/ByteRunValue.h"

#include <cstring>

namespace hollin_private
{
ByteRunValue::ByteRunValue(const void* bytes, std::uint32_t length) : mLength(length)
{
    if (!length)
        return;
    mBytes.reset(new unsigned char[length]);
    std::memcpy(mBytes.get(), bytes, length);
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
