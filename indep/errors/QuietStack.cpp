#include "indep/errors/QuietStack.h"

#include <memory>
#include <utility>

#include <platform/base/quiet_new.h>
#include <win32/threads.h>

#include "U_Posted.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"

namespace
{
// Written by birth and death only, while no other thread is in the library. A process that ends
// without death does not free the table, which its threads may still use.
PerThreadQuietStack* sQuietStack = nullptr;

std::atomic<U_u64> sTables(0); // the number of tables made so far

PerThreadQuietStack& TheQuietStack()
{
    if (!sQuietStack)
        throw BadArgument("Per thread quiet data not set up yet!");
    return *sQuietStack;
}
} // namespace

PLATFORM_THREAD_LOCAL(PerThreadQuietStack::Found, PerThreadQuietStack::tFound);

PerThreadQuietStack::PerThreadQuietStack() : mSerial(++sTables) {}

PerThreadQuietStack::~PerThreadQuietStack()
{
    for (Block* block = mFirst.mNext; block;)
    {
        const std::unique_ptr<Block> ended(block);
        block = ended->mNext;
    }
}

// If several threads chain a block at once, the losers free theirs and take the winner's.
PerThreadQuietStack::Block& PerThreadQuietStack::NextOf(Block& block)
{
    Block* next = block.mNext;
    if (next)
        return *next;
    auto made = std::make_unique<Block>();
    return block.mNext.compare_exchange_strong(next, made.get()) ? *made.release() : *next;
}

PerThreadQuietStack::Entry& PerThreadQuietStack::EntryAt(U_u32 index)
{
    Block* block = &mFirst;
    for (; index >= block->mEntries.size(); index -= static_cast<U_u32>(block->mEntries.size()))
        block = &NextOf(*block);
    return block->mEntries[index];
}

// Walks the chain of blocks once: finding each entry by its index would take quadratic time.
template <class Accept> PerThreadQuietStack::Entry* PerThreadQuietStack::FirstOf(Accept accept)
{
    U_u32 left = mCount;
    for (Block* block = &mFirst; block && left; block = block->mNext)
    {
        for (Entry& entry : block->mEntries)
        {
            if (accept(entry))
                return &entry;
            if (--left == 0)
                return nullptr;
        }
    }
    return nullptr;
}

// The result can be kept in tFound: only the thread itself can claim an entry for its id.
PerThreadQuietStack::Entry* PerThreadQuietStack::Find(U_u32 threadId)
{
    if (Found(tFound).mTable != mSerial)
        tFound = {mSerial, FirstOf([&](const Entry& entry) { return entry.mKey == threadId; })};
    return Found(tFound).mEntry;
}

PerThreadQuietStack::Entry& PerThreadQuietStack::Claim(U_u32 threadId)
{
    const auto take = [&](Entry& entry) {
        U_u64 nobody = 0;
        return entry.mKey == nobody && entry.mKey.compare_exchange_strong(nobody, threadId);
    };
    // An entry that was handed out may be free: another thread can have claimed it first.
    if (Entry* const free = FirstOf(take))
        return *free;
    for (;;)
    {
        Entry& entry = EntryAt(mCount.fetch_add(1));
        if (take(entry))
            return entry;
    }
}

void PerThreadQuietStack::Push(U_u32 threadId, bool logs)
{
    Entry* const mine = Find(threadId);
    Entry& entry = mine ? *mine : Claim(threadId);
    tFound = {mSerial, &entry};
    if (!entry.mLevels)
        entry.mLevels.emplace();
    entry.mLevels->push_back(logs && (entry.mLevels->empty() || entry.mLevels->back()));
    entry.mKey = threadId; // happens before a later thread with this id reads the level
}

bool PerThreadQuietStack::Pop(U_u32 threadId)
{
    Entry* const entry = Find(threadId);
    if (!entry || !entry->mLevels || entry->mLevels->empty())
        return false;
    entry->mLevels->pop_back();
    entry->mKey = threadId;
    return true;
}

std::optional<bool> PerThreadQuietStack::Top(U_u32 threadId)
{
    const Entry* const entry = Find(threadId);
    if (!entry || !entry->mLevels || entry->mLevels->empty())
        return std::nullopt;
    return entry->mLevels->back();
}

void MakeQuietStack()
{
    if (!sQuietStack)
        sQuietStack = new PerThreadQuietStack;
}

void FreeQuietStack()
{
    delete std::exchange(sQuietStack, nullptr);
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
        const platform::ScQuietNew
            quiet; // the report of a failing allocation could enter levels of its own
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
