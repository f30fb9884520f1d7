#include "indep/U_Memory/HogCounts.h"

#include <memory>
#include <mutex>
#include <new>

#include <quiet_new.h>

#include "indep/frame/ThreadPiece.h"

PLATFORM_THREAD_LOCAL HogShare* tHogShare = nullptr;

namespace
{
// Guards the lists of shares and where their cells stand, not what the cells hold. No
// memory is made while it is held, and nothing of the host's runs: threads that end take
// it, for whom a host may be waiting while it purges. Stays for good, like the shares.
std::mutex& sSharesLock = *new std::mutex;
HogShare* sFirstShare = nullptr;
HogShare* sFirstIdle = nullptr; // of threads that have ended; the next ones go on with them

// Gives the thread's share on when the thread ends.
struct ShareOwner
{
    HogShare* mShare = nullptr;

    ~ShareOwner()
    {
        tHogShare = nullptr;
        if (!mShare)
            return;
        std::lock_guard<std::mutex> lock(sSharesLock);
        mShare->mNextIdle = sFirstIdle;
        sFirstIdle = mShare;
    }
};

HogShare* TakeIdle()
{
    std::lock_guard<std::mutex> lock(sSharesLock);
    HogShare* const share = sFirstIdle;
    if (share)
        sFirstIdle = share->mNextIdle;
    return share;
}

HogShare* NewShare()
{
    HogShare* const share = new (std::nothrow) HogShare;
    if (!share)
        return nullptr;
    std::lock_guard<std::mutex> lock(sSharesLock);
    share->mNext = sFirstShare;
    sFirstShare = share;
    return share;
}

// The calling thread's share; null without memory.
HogShare* MyShare()
{
    if (tHogShare)
        return tHogShare;
    ShareOwner* const owner = ThreadPiece<ShareOwner>::Make();
    if (!owner)
        return nullptr;
    HogShare* const idle = TakeIdle();
    owner->mShare = idle ? idle : NewShare();
    return tHogShare = owner->mShare;
}
} // namespace

bool HogCells::Make(U_u32 count)
{
    void* const memory = ::operator new(count * sizeof(HogCell), kLine, std::nothrow);
    if (!memory)
        return false;
    mFirst = static_cast<HogCell*>(memory);
    std::uninitialized_default_construct_n(mFirst, count);
    mCount = count;
    return true;
}

HogShare* MakeHogShare(U_u32 index)
{
    const platform::ScQuietNew quiet; // nothing fails for want of a share
    HogShare* const share = MyShare();
    if (!share || index < share->mCells.Count())
        return share;
    HogCells grown;
    if (!grown.Make((index / HogCells::kStep + 1) * HogCells::kStep))
        return nullptr;
    if (index < share->mCells.Count())
        return share; // the host's new handler has counted on this thread meanwhile
    std::lock_guard<std::mutex> lock(sSharesLock);
    for (U_u32 cell = 0; cell < share->mCells.Count(); ++cell)
        grown[cell].Set(share->mCells[cell].Made(), share->mCells[cell].Gone());
    share->mCells.Swap(grown);
    return share;
}

HogTally LiveByShares(U_u32 index)
{
    HogTally gone = 0;
    HogTally made = 0;
    std::lock_guard<std::mutex> lock(sSharesLock);
    for (HogShare* share = sFirstShare; share; share = share->mNext)
        gone += index < share->mCells.Count() ? share->mCells[index].Gone() : 0;
    // In a second walk: a handle may go on another thread than the one that made it.
    for (HogShare* share = sFirstShare; share; share = share->mNext)
        made += index < share->mCells.Count() ? share->mCells[index].Made() : 0;
    return made - gone;
}

void ClearShares()
{
    std::lock_guard<std::mutex> lock(sSharesLock);
    for (HogShare* share = sFirstShare; share; share = share->mNext)
    {
        for (U_u32 cell = 0; cell < share->mCells.Count(); ++cell)
            share->mCells[cell].Set(0, 0);
    }
}
