#include "hollin_private/ByteRunValue.h"

namespace hollin_private
{
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
