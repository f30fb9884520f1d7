#include "signal_stack.h"

#include <csignal>

#include <sys/mman.h>
#include <unistd.h>

#include <platform/base/per_thread.h>

namespace win32
{
namespace
{
// A page that nobody may touch stands below, so that what overflows this stack too
// ends there.
class SignalStack
{
public:
    ~SignalStack()
    {
        stack_t current;
        if (!mStart || sigaltstack(nullptr, &current) != 0)
            return;
        // Whoever has replaced it since may put it back later, so it stays mapped.
        if (current.ss_sp != mStart + mPage || sigaltstack(&mBefore, nullptr) != 0)
            return;
        munmap(mStart, mPage + kLargestStackGuarantee);
    }

    bool Install(const stack_t& before)
    {
        if (mStart)
            return PutBack(before);
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

    // One that the host has put in the place of this stays; that it has left none doesn't,
    // and none is what there is again at the end.
    bool PutBack(const stack_t& current)
    {
        if ((current.ss_flags & SS_DISABLE) == 0)
            return true;
        if (!Use(mStart))
            return false;
        mBefore = current;
        return true;
    }

    char* mStart = nullptr; // of the page below; null: none is installed
    std::size_t mPage = 0;  // bytes
    stack_t mBefore = {};
};
} // namespace

bool ProvideSignalStack(std::size_t* before)
{
    stack_t current = {};
    if (sigaltstack(nullptr, &current) != 0)
        return false;
    *before = current.ss_flags & SS_DISABLE ? 0 : current.ss_size;
    if (*before >= kLargestStackGuarantee)
        return true;
    SignalStack* const stack = platform::PerThread<SignalStack>::Make();
    return stack && stack->Install(current);
}
} // namespace win32
