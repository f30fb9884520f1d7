// Which threads are in quiet mode.

#ifndef INDEP_ERRORS_QUIET_STACK_H
#define INDEP_ERRORS_QUIET_STACK_H

#include <array>
#include <atomic>
#include <deque>
#include <optional>

#include <platform/base/thread_local.h>

#include "U_Types.h"

// A lock-free table with a stack of levels for each thread that has ever entered
// quiet mode. A slot stays its thread's for good: a later thread of the same id
// finds the stack as it was left. All operations are on the calling thread's
// own stack, whose id they are given.
class PerThreadQuietStack
{
public:
    PerThreadQuietStack();
    ~PerThreadQuietStack();
    PerThreadQuietStack(const PerThreadQuietStack&) = delete;
    PerThreadQuietStack& operator=(const PerThreadQuietStack&) = delete;

    // Enters a level that logs or doesn't; inside one that doesn't none does.
    // Throws std::bad_alloc.
    void Push(U_u32 threadId, bool logs);

    // Leaves a level. False if the thread is in none.
    bool Pop(U_u32 threadId);

    // The innermost level, that is whether it logs; empty outside all levels.
    // Allocates nothing.
    std::optional<bool> Top(U_u32 threadId);

private:
    struct Slot
    {
        std::atomic<U_u64> mKey{0}; // the thread's id, 0 while the slot is free
        std::optional<std::deque<bool>> mLevels;
    };

    struct Block
    {
        std::array<Slot, 256> mSlots;
        std::atomic<Block*> mNext{nullptr};
    };

    // What a thread has found out about its slot, null if it has none, so that its
    // reports needn't search the table: that is as long as there were threads.
    struct Found
    {
        U_u64 mTable; // the serial number of the table
        Slot* mSlot;
    };

    static Block& NextOf(Block& block);
    Slot& SlotAt(U_u32 index);
    // The first slot handed out that accept returns true for; null without one.
    template <class Accept> Slot* FirstOf(Accept accept);
    Slot* Find(U_u32 threadId);
    Slot& Claim(U_u32 threadId);

    static PLATFORM_THREAD_LOCAL Found tFound;

    const U_u64 mSerial;          // no other table of the process has it
    std::atomic<U_u32> mCount{0}; // slots handed out
    Block mFirst;
};

// For birth and death.
void MakeQuietStack();
void FreeQuietStack();

// Whether the calling thread's reports are dropped; forLogging asks whether even
// their log lines are. No lock, no allocation.
bool Up_IsQuiet(bool forLogging);

#endif
