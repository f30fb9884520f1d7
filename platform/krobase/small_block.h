// Allocation of small blocks.
//
//     typedef krobase::utility::SmallBlockAllocator Allocator;
//     std::vector<int, Allocator::STLAllocator<int>> numbers(10);
//     void* const block = Allocator::Allocate(24);
//     Allocator::Dispose(block);
//
// (The example also needs <vector>.)
//
// Thread safety: all functions may be called on any thread. A block may be freed on another
// thread than the thread that allocated the block.

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
    // Allocates a block of `size` bytes, aligned for any type.
    //
    // Throws: std::bad_alloc.
    static void* Allocate(std::size_t size);

    // Frees a block. Null does nothing.
    static void Dispose(void* block);

    // The allocator of standard containers and strings.
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
