#include "tests/support/NoMemory.h"

#include <cstdlib>
#include <new>

namespace
{
const std::size_t kRoom = 1 << 20; // bytes
} // namespace

ScNoMemory::ScNoMemory() : mLimit(kRoom)
{
    for (std::size_t size = kRoom; size >= sizeof(Block); size /= 2)
    {
        while (void* taken = std::malloc(size))
            mBlocks = new (taken) Block{mBlocks};
    }
}

ScNoMemory::~ScNoMemory()
{
    while (Block* block = mBlocks)
    {
        mBlocks = block->next;
        std::free(block);
    }
}
