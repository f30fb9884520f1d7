// The second stacks of threads, on which signal handlers run.

#include <win32/exceptions.h>

#include <csignal>
#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

#include <platform/base/per_thread.h>

namespace win32
{
namespace
{
bool IsNone(const stack_t& stack)
{
    return (stack.ss_flags & SS_DISABLE) != 0;
}

// An inaccessible page below the stack stops a handler that overflows this stack, too.
class SignalStack
{
public:
    ~SignalStack()
    {
        stack_t current;
        if (!mStart || sigaltstack(nullptr, &current) != 0)
            return;
        // The host may have replaced this stack and may restore it later: it stays mapped then.
        if (current.ss_sp != mStart + mPage || sigaltstack(&mBefore, nullptr) != 0)
            return;
        munmap(mStart, mPage + kLargestStackGuarantee);
    }

    bool Install(const stack_t& before)
    {
        if (mStart)
            return Restore(before);
        mPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        void* const mapped = mmap(nullptr, mPage + kLargestStackGuarantee, PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK | MAP_NORESERVE, -1, 0);
        if (mapped == MAP_FAILED)
            return false;
        char* const start = static_cast<char*>(mapped);
        if (mprotect(start, mPage, PROT_NONE) != 0 || !Use(start))
        {
            munmap(start, mPage + kLargestStackGuarantee);
            return false;
        }
        mStart = start;
        mBefore = before;
        return true;
    }

private:
    bool Use(char* start) const
    {
        stack_t stack = {};
        stack.ss_sp = start + mPage;
        stack.ss_size = kLargestStackGuarantee;
        return sigaltstack(&stack, nullptr) == 0;
    }

    // Keeps a stack by which the host has replaced this one. If the host has removed this one
    // without a replacement, installs it again; the destructor then leaves no stack.
    bool Restore(const stack_t& current)
    {
        if (!IsNone(current))
            return true;
        if (!Use(mStart))
            return false;
        mBefore = current;
        return true;
    }

    char* mStart = nullptr; // of the page below the stack; null: not installed
    std::size_t mPage = 0;  // bytes
    stack_t mBefore = {};
};
} // namespace

int SetThreadStackGuarantee(unsigned int* size)
{
    stack_t current = {};
    if (!size || *size > kLargestStackGuarantee || sigaltstack(nullptr, &current) != 0)
        return 0;
    const std::size_t before = IsNone(current) ? 0 : current.ss_size;
    if (before < kLargestStackGuarantee)
    {
        SignalStack* const stack = platform::PerThread<SignalStack>::Make();
        if (!stack || !stack->Install(current))
            return 0;
    }
    *size = static_cast<unsigned int>(before);
    return 1;
}

bool IsOnFilterStack(const void* address)
{
    stack_t current = {};
    if (sigaltstack(nullptr, &current) != 0 || IsNone(current))
        return false;
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(current.ss_sp);
    return reinterpret_cast<std::uintptr_t>(address) - start < current.ss_size;
}
} // namespace win32
