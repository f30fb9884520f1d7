// The functions that allocate the blocks of recycled memory in place of the C library.

#ifndef KROBASE_RECYCLED_SOURCE_H
#define KROBASE_RECYCLED_SOURCE_H

#include <cstddef>

namespace krobase
{
namespace utility
{
struct RecycledSource
{
    void* (*mAllocate)(std::size_t size); // null: the C library allocates the block
    bool (*mFree)(void* block);           // false: the C library has allocated the block
};

// From now on the pool keeps the sizes of freed blocks only. The source stays for the life of the
// process.
void SetRecycledSource(const RecycledSource& source);
} // namespace utility
} // namespace krobase

#endif
