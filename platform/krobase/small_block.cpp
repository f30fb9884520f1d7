#include "small_block.h"

#include <cstdlib>

namespace krobase
{
namespace utility
{
void* SmallBlockAllocator::Allocate(std::size_t size)
{
    // The C library keeps small blocks per thread.
    if (void* block = std::malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}

void SmallBlockAllocator::Dispose(void* block)
{
    std::free(block);
}
} // namespace utility
} // namespace krobase
