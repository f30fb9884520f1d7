#include "indep/errors/QuietStack.h"

#include <memory>

#include <platform/base/quiet_new.h>
#include <win32/threads.h>

#include "U_Posted.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"

namespace
{
// Written by birth and death only, with no other thread in the library. A process
// that ends without death leaves it to its threads.
PerThreadQuietStack* sQuietStack = nullptr;

std::atomic<U_u64> sTables(0); // made so far

PerThreadQuietStack& TheQuietStack()
{
    if (!sQuietStack)
        throw BadArgument("Per thread quiet data not set up yet!");
    return *sQuietStack;
}
} // namespace

PLATFORM_THREAD_LOCAL PerThreadQuietStack::Found PerThreadQuietStack::tFound = {0, nullptr};

PerThreadQuietStack::PerThreadQuietStack() : mSerial(++sTables) {}

PerThreadQuietStack::~PerThreadQuietStack()
{
    for (Block* block = mFirst.mNext; block;)
    {
        const std::unique_ptr<Block> ended(block);
        block = ended->mNext;
    }
}

// Of threads that chain a block at once, the losers take the winner's.
PerThreadQuietStack::Block& PerThreadQuietStack::NextOf(Block& block)
{
    Block* next = block.mNext;
    if (next)
        return *next;
    auto made = std::make_unique<Block>();
    return block.mNext.compare_exchange_strong(next, made.get()) ? *made.release() : *next;
}

PerThreadQuietStack::Slot& PerThreadQuietStack::SlotAt(U_u32 index)
{
    Block* block = &mFirst;
    for (; index >= block->mSlots.size(); index -= static_cast<U_u32>(block->mSlots.size()))
        block = &NextOf(*block);
    return block->mSlots[index];
}

// Walks the chain once, whatever the number of slots.
template <class Accept> PerThreadQuietStack::Slot* PerThreadQuietStack::FirstOf(Accept accept)
{
    U_u32 left = mCount;
    for (Block* block = &mFirst; block && left; block = block->mNext)
    {
        for (Slot& slot : block->mSlots)
        {
            if (accept(slot))
                return &slot;
            if (--left == 0)
                return nullptr;
        }
    }
    return nullptr;
}

// A slot becomes a thread's by its own doing only.
PerThreadQuietStack::Slot* PerThreadQuietStack::Find(U_u32 threadId)
{
    if (tFound.mTable != mSerial)
        tFound = {mSerial, FirstOf([&](const Slot& slot) { return slot.mKey == threadId; })};
    return tFound.mSlot;
}

PerThreadQuietStack::Slot& PerThreadQuietStack::Claim(U_u32 threadId)
{
    const auto take = [&](Slot& slot) {
        U_u64 nobody = 0;
        return slot.mKey == nobody && slot.mKey.compare_exchange_strong(nobody, threadId);
    };
    // Any thread may take a slot that was handed out and is still free.
    if (Slot* const free = FirstOf(take))
        return *free;
    for (;;)
    {
        Slot& slot = SlotAt(mCount.fetch_add(1));
        if (take(slot))
            return slot;
    }
}

void PerThreadQuietStack::Push(U_u32 threadId, bool logs)
{
    Slot* const mine = Find(threadId);
    Slot& slot = mine ? *mine : Claim(threadId);
    tFound.mSlot = &slot;
    if (!slot.mLevels)
        slot.mLevels.emplace();
    slot.mLevels->push_back(logs && (slot.mLevels->empty() || slot.mLevels->back()));
    slot.mKey = threadId; // a later thread of this id sees the level
}

bool PerThreadQuietStack::Pop(U_u32 threadId)
{
    Slot* const slot = Find(threadId);
    if (!slot || !slot->mLevels || slot->mLevels->empty())
        return false;
    slot->mLevels->pop_back();
    slot->mKey = threadId;
    return true;
}

std::optional<bool> PerThreadQuietStack::Top(U_u32 threadId)
{
    const Slot* const slot = Find(threadId);
    if (!slot || !slot->mLevels || slot->mLevels->empty())
        return std::nullopt;
    return slot->mLevels->back();
}

void MakeQuietStack()
{
    if (!sQuietStack)
        sQuietStack = new PerThreadQuietStack;
}

void FreeQuietStack()
{
    delete sQuietStack;
    sQuietStack = nullptr;
}

bool Up_IsQuiet(bool forLogging)
{
    if (!sQuietStack)
        return false;
    const std::optional<bool> logs = sQuietStack->Top(win32::GetCurrentThreadId());
    return logs && !(forLogging && *logs);
}

U_Status U_StartQuietErrorsOnCurrentThread(bool keepLogging)
{
    return Guarded([&] {
        const platform::ScQuietNew quiet; // an alert could enter levels of its own
        TheQuietStack().Push(win32::GetCurrentThreadId(), keepLogging);
    });
}

U_Status U_EndQuietErrorsOnCurrentThread()
{
    return Guarded([&] {
        if (!TheQuietStack().Pop(win32::GetCurrentThreadId()))
            throw BadArgument("Unbalanced U_EndQuietErrorsOnCurrentThread() (2)");
    });
}
