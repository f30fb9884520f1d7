// FNV-1a with 64 bits.

#ifndef FILECACHE_CHECKSUM_H
#define FILECACHE_CHECKSUM_H

#include <cstddef>

#include <U_Types.h>

const U_u64 kChecksumStart = 0xCBF29CE484222325u;

// Carries a checksum on over more bytes.
inline U_u64 Checksum(U_u64 sum, const void* bytes, size_t size)
{
    const U_u8* byte = static_cast<const U_u8*>(bytes);
    for (const U_u8* end = byte + size; byte != end; ++byte)
        sum = (sum ^ *byte) * 0x100000001B3u;
    return sum;
}

#endif
