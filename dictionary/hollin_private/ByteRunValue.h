// A run of bytes that is shared.

#ifndef HOLLIN_PRIVATE_BYTE_RUN_VALUE_H
#define HOLLIN_PRIVATE_BYTE_RUN_VALUE_H

#include <cstdint>

#include "hollin_private/ByteRun.h"
#include "hollin_private/RefCountObj.h"

namespace hollin_private
{
class ByteRunValue : public RefCountObj
{
public:
    // Copies the bytes.
    ByteRunValue(const void* bytes, std::uint32_t length);

    std::uint32_t Length() const { return mLength; }            // in bytes
    const unsigned char* Bytes() const { return mBytes.get(); } // null if there are none

private:
    const std::uint32_t mLength;
    const OwnedRun mBytes;
};

// For those who know a run by its name only.
void intrusive_ptr_add_ref(ByteRunValue* value);
void intrusive_ptr_release(ByteRunValue* value);
} // namespace hollin_private

#endif
