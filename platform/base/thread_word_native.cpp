#include "thread_word_native.h"

#include <cstdlib>

#include <platform/base/printable.h>
#include <win32/native/windows_api.h>

namespace platform
{
namespace
{
// The system's functions for slots set the last error.
class ScLastError
{
public:
    ScLastError() : mError(::GetLastError()) {}
    ~ScLastError() { ::SetLastError(mError); }
    ScLastError(const ScLastError&) = delete;
    ScLastError& operator=(const ScLastError&) = delete;

private:
    const DWORD mError;
};

[[noreturn]] void EndWithoutSlot()
{
    WriteToStderr("the system has no thread-local slot\n");
    std::abort();
}
} // namespace

void* ThreadSlot::Read() const
{
    const unsigned long index = mIndex.load(std::memory_order_acquire);
    if (!index)
        return nullptr;
    const ScLastError keep;
    return ::TlsGetValue(index - 1);
}

void ThreadSlot::Write(void* word)
{
    unsigned long index = mIndex.load(std::memory_order_acquire);
    if (!index && !word)
        return;
    const ScLastError keep;
    if (!index)
    {
        const DWORD fresh = ::TlsAlloc();
        if (fresh == TLS_OUT_OF_INDEXES)
            EndWithoutSlot();
        if (mIndex.compare_exchange_strong(index, fresh + 1))
            index = fresh + 1;
        else
            ::TlsFree(fresh); // another thread has set mIndex
    }
    if (!::TlsSetValue(index - 1, word))
        EndWithoutSlot();
}
} // namespace platform
