// Quiet mode: the levels of each thread.

#ifndef INDEP_ERRORS_QUIET_STACK_H
#define INDEP_ERRORS_QUIET_STACK_H

#include <array>
#include <atomic>
#include <deque>
#include <optional>

#include <platform/base/thread_local.h>

#include "U_Types.h"

// A lock-free table with a stack of levels for each thread that has ever entered quiet mode. An
// entry is never freed: a later thread with the same id finds the stack as the earlier thread
// left it. REQUIRES: threadId is the calling thread's id.
class PerThreadQuietStack
{
public:
    PerThreadQuietStack();
    ~PerThreadQuietStack();
    PerThreadQuietStack(const PerThreadQuietStack&) = delete;
    PerThreadQuietStack& operator=(const PerThreadQuietStack&) = delete;

    // Enters a level. A level inside a level that does not log does not log either. Throws
    // std::bad_alloc.
    void Push(U_u32 threadId, bool logs);

    // Leaves the innermost level. Returns false if the thread is in no level.
    bool Pop(U_u32 threadId);

    // Returns true if the innermost level logs; no value outside all levels. Allocates nothing.
    std::optional<bool> Top(U_u32 threadId);

private:
    struct Entry
    {
        std::atomic<U_u64> mKey{0}; // the thread's id; 0 while the entry is free
        std::optional<std::deque<bool>> mLevels;
    };

    struct Block
    {
        std::array<Entry, 256> mEntries;
        std::atomic<Block*> mNext{nullptr};
    };

    // A thread's entry, null if the thread has none. Kept so that a report does not search the
    // table, whose length is the number of threads that were ever quiet.
    struct Found
    {
        U_u64 mTable; // the serial number of the table
        Entry* mEntry;
    };

    static Block& NextOf(Block& block);
    Entry& EntryAt(U_u32 index);
    // Returns the first entry for which accept returns true; null without one.
    template <class Accept> Entry* FirstOf(Accept accept);
    Entry* Find(U_u32 threadId);
    Entry& Claim(U_u32 threadId);

    static PLATFORM_THREAD_LOCAL(Found, tFound);

    const U_u64 mSerial;          // differs from every other table's
    std::atomic<U_u32> mCount{0}; // entries handed out
    Block mFirst;
};

// Steps of birth and death.
void MakeQuietStack();
void FreeQuietStack();

// Returns true if the calling thread's reports are dropped; with forLogging, if their log lines
// are dropped, too. Takes no lock and allocates nothing.
bool Up_IsQuiet(bool forLogging);

#endif
