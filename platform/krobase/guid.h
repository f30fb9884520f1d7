// A 16-byte name that is meant to be unique.

#ifndef KROBASE_GUID_H
#define KROBASE_GUID_H

#include <array>

namespace krobase
{
namespace utility
{
// All zero unless said otherwise. Ordered byte by byte.
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
