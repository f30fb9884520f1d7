// The stacks of allocations and frees. Equal stacks are stored once, and are never freed.

#ifndef TOLV_STACKS_H
#define TOLV_STACKS_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace tolv
{
struct Stack
{
    const Stack* mNext; // of the same bucket
    std::size_t mCount;
    // mCount return addresses follow, the innermost first.

    void* const* Frames() const { return reinterpret_cast<void* const*>(this + 1); }
};

// Stores the stack of the calling thread without the `skip` innermost frames. Returns null
// without memory. Takes no lock.
const Stack* KeepStack(std::size_t skip);

// Appends a line for each frame: the function, and the file and line if they are known.
//
// Throws: std::bad_alloc.
void AppendStack(std::string& text, const Stack& stack);
} // namespace tolv

#endif
