// The logging callbacks and the interaction mask.

#include "U_Interact.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <list>

#include <boost/thread/lock_guard.hpp>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>

#include "indep/errors/Globals.h"
#include "indep/errors/Report.h"
#include "indep/errors/ReportPipeline.h"

namespace
{
typedef boost::lock_guard<boost::recursive_mutex> CallbackLock;

// Replaces the first slot with the old pair. Both pointers are null in a free slot.
bool ReplaceFirst(U_LoggingCallback oldCallback, void* oldRefcon, U_LoggingCallback callback,
                  void* refcon)
{
    U_Globals* globals = Globals();
    CallbackLock lock(*globals->mLoggingLock);
    for (std::size_t slot = 0; slot < kMostLoggingCallbacks; ++slot)
    {
        if (globals->mLoggingFuncs[slot] != oldCallback ||
            globals->mLoggingRefcons[slot] != oldRefcon)
            continue;
        globals->mLoggingFuncs[slot] = callback;
        globals->mLoggingRefcons[slot] = refcon;
        return true;
    }
    return false;
}

// Reads without the lock, so that threads do not wait for the lock if there is no callback.
bool HasCallbacks(const U_Globals& globals)
{
    const auto& callbacks = globals.mLoggingFuncs;
    return std::any_of(std::begin(callbacks), std::end(callbacks),
                       [](const auto& callback) { return callback.load() != nullptr; });
}

typedef platform::ScLock<platform::Mutex> InteractLock;

const U_u32 kBaseId = 0xFFFFFFFF;

struct Entry
{
    U_u32 mId;
    U_u32 mMask;
};

struct Interaction
{
    platform::Mutex mLock;
    std::list<Entry> mEntries PLATFORM_GUARDED_BY(mLock); // the mask in force is the first
    U_u32 mNextTemporaryId PLATFORM_GUARDED_BY(mLock) = 1;

    // A copy of the mask in force, which each report reads several times. Written with the
    // lock held.
    std::atomic<U_u32> mInForce{0};

    // The last step of each change.
    void PutInForce() PLATFORM_REQUIRES(mLock)
    {
        mInForce.store(mEntries.empty() ? 0 : mEntries.front().mMask);
    }

    // Ids repeat after 2^32 uses, without 0 and the base mask's id.
    U_u32 NextTemporaryId() PLATFORM_REQUIRES(mLock)
    {
        while (mNextTemporaryId == 0 || mNextTemporaryId == kBaseId)
            ++mNextTemporaryId;
        return mNextTemporaryId++;
    }
};

Interaction& TheInteraction()
{
    static platform::Immortal<Interaction> interaction;
    return *interaction;
}
} // namespace

U_Status U_AddLoggingCallback(U_LoggingCallback callback, void* refcon)
{
    if (!callback)
        return BadArgument("logging_func can not be NULL", kModule | kEntryAddLoggingCallback);
    if (U_Status damaged = Up_ValidateGlobals(kEntryAddLoggingCallback))
        return damaged;
    if (!ReplaceFirst(nullptr, nullptr, callback, refcon))
        return BadArgument("can not add any more logging_funcs",
                           kModule | kEntryAddLoggingCallback);
    return 0;
}

U_Status U_RemoveLoggingCallback(U_LoggingCallback callback, void* refcon)
{
    if (!callback)
        return BadArgument("logging_func can not be NULL", kModule | kEntryRemoveLoggingCallback);
    if (U_Status damaged = Up_ValidateGlobals(kEntryRemoveLoggingCallback))
        return damaged;
    if (!ReplaceFirst(callback, refcon, nullptr, nullptr))
        return BadArgument("can not find logging_func/refcon pair to remove",
                           kModule | kEntryRemoveLoggingCallback);
    return 0;
}

bool Up_HasLoggingCallbacks()
{
    return Up_GlobalsAreGood() && HasCallbacks(*Globals());
}

U_Status Up_CallLoggingCallbacks(U_u32 location, const char* text, U_u16 severity)
{
    U_Globals* globals = Globals();
    CallbackLock lock(*globals->mLoggingLock);
    U_Status answer = 0;
    for (std::size_t slot = 0; slot < kMostLoggingCallbacks; ++slot)
    {
        // Each slot is read immediately before its call: a callback may change later slots.
        if (U_LoggingCallback callback = globals->mLoggingFuncs[slot])
            answer = callback(globals->mLoggingRefcons[slot], location, severity, text);
    }
    return answer;
}

U_u32 Up_GetInteract()
{
    return TheInteraction().mInForce;
}

void Up_SetInteract(U_u32 mask)
{
    Interaction& interaction = TheInteraction();
    std::list<Entry> entries{{kBaseId, mask}}; // before the change: may throw
    InteractLock lock(interaction.mLock);
    interaction.mEntries.swap(entries);
    interaction.PutInForce();
}

U_u32 Up_SetInteractTemp(U_u32 mask)
{
    Interaction& interaction = TheInteraction();
    std::list<Entry> entry{{0, mask}};
    InteractLock lock(interaction.mLock);
    entry.front().mId = interaction.NextTemporaryId();
    interaction.mEntries.splice(interaction.mEntries.begin(), entry);
    interaction.PutInForce();
    return interaction.mEntries.front().mId;
}

void Up_SetInteractTempComplete(U_u32 id)
{
    Interaction& interaction = TheInteraction();
    InteractLock lock(interaction.mLock);
    const auto entry =
        std::find_if(interaction.mEntries.begin(), interaction.mEntries.end(),
                     [id](const Entry& candidate) { return candidate.mId == id && id != kBaseId; });
    if (entry == interaction.mEntries.end())
        return;
    interaction.mEntries.erase(entry);
    interaction.PutInForce();
}
