#include "small_block.h"

#include <new>

namespace krobase
{
namespace utility
{
void* SmallBlockAllocator::Allocate(std::size_t size)
{
    return ::operator new(size); // the C library below keeps small blocks per thread
}

void SmallBlockAllocator::Dispose(void* block)
{
    ::operator delete(block);
}
} // namespace utility
} // namespace krobase
