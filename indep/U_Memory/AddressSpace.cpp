#include "U_Machine.h"

#include <utility>

#include <win32/memory.h>
#include <win32/text.h>
#include <wril/wril.h>

#include "U_Budget.h"
#include "indep/frame/Guard.h"

namespace
{
struct Reservation
{
    size_t mSize;
    void* mAddress;
};

int TryToReserve(void* refcon, bool* okay)
{
    Reservation* const wanted = static_cast<Reservation*>(refcon);
    wanted->mAddress = win32::VirtualAlloc(
        nullptr, wanted->mSize, win32::kMemCommit | win32::kMemReserve | win32::kMemTopDown,
        win32::kPageNoAccess);
    *okay = wanted->mAddress != nullptr;
    return *okay ? 0 : U_Err_OutOfMemory;
}

// Throws the code of the failure.
void* Reserve(U_u64 size)
{
    Reservation wanted = {static_cast<size_t>(size), nullptr};
    U_Status failure = 0;
    {
        const U_ScDisableProactivePrePurging unmeasured;
        failure = U_PurgeLoop(size, &TryToReserve, &wanted, true);
    }
    if (failure)
        throw static_cast<int>(failure);
    return wanted.mAddress;
}

void Free(void* address) noexcept
{
    if (win32::VirtualFree(address, 0, win32::kMemRelease))
        return;
    const unsigned int error = win32::GetLastError();
    LogSafely([=] { WRIL_sprintf(0, "U", "VirtualFree", "VirtualFree error %d", error); });
}
} // namespace

U_ScReserveContiguousAddressSpace::U_ScReserveContiguousAddressSpace(U_u64 size)
    : mReservation(Reserve(size))
{
}

U_ScReserveContiguousAddressSpace::~U_ScReserveContiguousAddressSpace()
{
    Release();
}

U_ScReserveContiguousAddressSpace& U_ScReserveContiguousAddressSpace::operator=(
    const U_ScReserveContiguousAddressSpace& other) = default;

void U_ScReserveContiguousAddressSpace::Release()
{
    if (!mReservation)
        return;
    Free(std::exchange(mReservation, nullptr));
}

U_Status U_ReserveContiguousAddressSpace(U_u64 size)
{
    return Guarded([=] { Free(Reserve(size)); });
}
