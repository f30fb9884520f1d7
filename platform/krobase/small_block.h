// Small-block allocation. Any thread; a block may be freed on another thread
// than the one that allocated it.

#ifndef KROBASE_SMALL_BLOCK_H
#define KROBASE_SMALL_BLOCK_H

#include <cstddef>
#include <limits>
#include <new>

#include <platform/base/export.h>

namespace krobase
{
namespace utility
{
class PLATFORM_EXPORT SmallBlockAllocator
{
public:
    // A block of size bytes, aligned for any type. Throws std::bad_alloc.
    static void* Allocate(std::size_t size);

    // Gives a block back. Null does nothing.
    static void Dispose(void* block);

    template <class T> class STLAllocator
    {
    public:
        typedef T value_type;

        STLAllocator() = default;
        template <class Other> STLAllocator(const STLAllocator<Other>&) {}

        T* allocate(std::size_t count)
        {
            if (count > std::numeric_limits<std::size_t>::max() / sizeof(T))
                throw std::bad_alloc();
            return static_cast<T*>(SmallBlockAllocator::Allocate(count * sizeof(T)));
        }
        void deallocate(T* block, std::size_t) { SmallBlockAllocator::Dispose(block); }

        template <class Other> bool operator==(const STLAllocator<Other>&) const { return true; }
        template <class Other> bool operator!=(const STLAllocator<Other>&) const { return false; }
    };
};
} // namespace utility
} // namespace krobase

#endif
