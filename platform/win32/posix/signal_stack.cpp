#include "signal_stack.h"

#include <csignal>

#include <sys/mman.h>
#include <unistd.h>

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
            return true; // the host has put one of its own in the place of this
        mPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        void* const mapped = mmap(nullptr, mPage + kLargestStackGuarantee, PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK | MAP_NORESERVE, -1, 0);
        if (mapped == MAP_FAILED)
            return false;
        char* const start = static_cast<char*>(mapped);
        stack_t fresh = {};
        fresh.ss_sp = start + mPage;
        fresh.ss_size = kLargestStackGuarantee;
        if (mprotect(start, mPage, PROT_NONE) != 0 || sigaltstack(&fresh, nullptr) != 0)
        {
            munmap(start, mPage + kLargestStackGuarantee);
            return false;
        }
        mStart = start;
        mBefore = before;
        return true;
    }

private:
    char* mStart = nullptr; // of the page below; null: none is installed
    std::size_t mPage = 0;  // bytes
    stack_t mBefore = {};
};

thread_local SignalStack sStack;
} // namespace

bool ProvideSignalStack(std::size_t* before)
{
    stack_t current = {};
    if (sigaltstack(nullptr, &current) != 0)
        return false;
    *before = current.ss_flags & SS_DISABLE ? 0 : current.ss_size;
    return *before >= kLargestStackGuarantee || sStack.Install(current);
}
} // namespace win32
