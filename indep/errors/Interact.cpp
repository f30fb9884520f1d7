#include "U_Interact.h"

#include <algorithm>
#include <atomic>
#include <list>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <platform/base/immortal.h>

namespace
{
typedef boost::lock_guard<boost::mutex> InteractLock;

const U_u32 kBaseId = 0xFFFFFFFF;

struct Entry
{
    U_u32 mId;
    U_u32 mMask;
};

struct Interaction
{
    boost::mutex mLock;        // guards the rest
    std::list<Entry> mEntries; // the mask in force in front
    U_u32 mNextTemporaryId = 1;

    // The mask in force once more, which each report reads several times.
    // Written with the lock held.
    std::atomic<U_u32> mInForce{0};
};

// The last step of each change, with the lock held.
void PutInForce(Interaction& interaction)
{
    const std::list<Entry>& entries = interaction.mEntries;
    interaction.mInForce.store(entries.empty() ? 0 : entries.front().mMask);
}

// Ids come again after 2^32 uses, but never 0, nor the one that is not temporary.
U_u32 NextTemporaryId(Interaction& interaction)
{
    while (interaction.mNextTemporaryId == 0 || interaction.mNextTemporaryId == kBaseId)
        ++interaction.mNextTemporaryId;
    return interaction.mNextTemporaryId++;
}

Interaction& TheInteraction()
{
    static platform::Immortal<Interaction> interaction;
    return *interaction;
}
} // namespace

U_u32 Up_GetInteract()
{
    return TheInteraction().mInForce;
}

void Up_SetInteract(U_u32 mask)
{
    Interaction& interaction = TheInteraction();
    std::list<Entry> entries{{kBaseId, mask}}; // without memory the old ones stay
    InteractLock lock(interaction.mLock);
    interaction.mEntries.swap(entries);
    PutInForce(interaction);
}

U_u32 Up_SetInteractTemp(U_u32 mask)
{
    Interaction& interaction = TheInteraction();
    std::list<Entry> entry{{0, mask}};
    InteractLock lock(interaction.mLock);
    entry.front().mId = NextTemporaryId(interaction);
    interaction.mEntries.splice(interaction.mEntries.begin(), entry);
    PutInForce(interaction);
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
    PutInForce(interaction);
}
