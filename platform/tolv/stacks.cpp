#include "private/stacks.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

#include <krobase/stack_trace.h>

#include "private/own_pages.h"

namespace tolv
{
namespace
{
const std::size_t kMostKept = 24; // frames: each costs time at every allocation
const std::size_t kBuckets = 0x4000;

std::atomic<const Stack*> sStacks[kBuckets];

std::size_t BucketOf(void* const* frames, std::size_t count)
{
    std::uintptr_t hash = count;
    for (std::size_t i = 0; i < count; ++i)
        hash = hash * 31 + reinterpret_cast<std::uintptr_t>(frames[i]);
    return (hash ^ hash >> 17) % kBuckets;
}

const Stack* Find(const Stack* first, const Stack* end, void* const* frames, std::size_t count)
{
    for (const Stack* stack = first; stack != end; stack = stack->mNext)
    {
        if (stack->mCount == count && std::equal(frames, frames + count, stack->Frames()))
            return stack;
    }
    return nullptr;
}
} // namespace

const Stack* KeepStack(std::size_t skip)
{
    void* frames[kMostKept];
    const std::size_t count = krobase::debug::GenerateStackTrace(frames, kMostKept, skip + 1);
    std::atomic<const Stack*>& bucket = sStacks[BucketOf(frames, count)];
    const Stack* first = bucket.load(std::memory_order_acquire);
    if (const Stack* const known = Find(first, nullptr, frames, count))
        return known;
    void* const memory = NewForever(sizeof(Stack) + count * sizeof(void*));
    if (!memory)
        return nullptr;
    Stack* const stack = new (memory) Stack{first, count};
    std::copy(frames, frames + count, const_cast<void**>(stack->Frames()));
    while (!bucket.compare_exchange_weak(first, stack, std::memory_order_acq_rel))
        stack->mNext = first; // another thread may have stored an equal stack, which is no harm
    return stack;
}

void AppendStack(std::string& text, const Stack& stack)
{
    using namespace krobase::debug;
    for (std::size_t i = 0; i < stack.mCount; ++i)
    {
        void* const frame = stack.Frames()[i];
        char line[1024];
        if (StackFrameFunctionName(frame, line, sizeof(line)))
            text.append("\n    ").append(line);
        else
        {
            std::snprintf(line, sizeof(line), "%p", frame);
            text.append("\n    ").append(line);
        }
        if (StackFrameFullFilePath(frame, line, sizeof(line)))
            text.append(" ").append(line).append(":").append(
                std::to_string(StackFrameLineNumber(frame)));
    }
}
} // namespace tolv
