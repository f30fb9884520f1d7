// Unique identifiers of 16 bytes.
//
//     krobase::utility::Guid id;
//     id.mBytes = {0x5A, 0x01};
//     const bool isNull = id == krobase::utility::Guid();
//
// Thread safety: a Guid is a plain value.

#ifndef KROBASE_GUID_H
#define KROBASE_GUID_H

#include <array>

namespace krobase
{
namespace utility
{
// All bytes are zero by default. The order is that of the bytes.
struct Guid
{
    std::array<unsigned char, 16> mBytes = {};
};

inline bool operator==(const Guid& left, const Guid& right)
{
    return left.mBytes == right.mBytes;
}

inline bool operator!=(const Guid& left, const Guid& right)
{
    return !(left == right);
}

inline bool operator<(const Guid& left, const Guid& right)
{
    return left.mBytes < right.mBytes;
}
} // namespace utility
} // namespace krobase

#endif
