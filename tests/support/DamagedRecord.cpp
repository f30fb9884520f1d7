#include "tests/support/DamagedRecord.h"

#include <platform/control.h>
#include <tolv/memory.h>

#include "U_Alloc.h"
#include "indep/errors/Globals.h"
#include "tests/support/System.h"

namespace
{
// Reads a word that other threads may write, and that may lie between variables.
#if defined(__has_attribute) && __has_attribute(no_sanitize)
__attribute__((no_sanitize("address"), no_sanitize("thread")))
#endif
void**
ReadWord(void* const* word)
{
    return static_cast<void**>(*static_cast<void* const volatile*>(word));
}

// The record is the block of a handle that starts with the magic number.
bool IsRecord(void** handle)
{
    return handle && MEM_GetHandleSize(nullptr, handle) >= sizeof(U_u32) &&
           *static_cast<U_u32*>(*handle) == kGlobalsMagic;
}

// Switches the checks of the heap off for a scope, since they report each word that is no handle.
// Then restores those of the environment.
struct ScNoHeapChecks
{
    ScNoHeapChecks() { platform::SetHeapChecks("0"); }
    ~ScNoHeapChecks() { platform::SetHeapChecks(nullptr); }
};

// Returns the record's handle, which is in a variable of the library, or null.
void** FindRecord()
{
    const ScNoHeapChecks noChecks;
    for (const Words& words : VariablesOfU())
    {
        for (void** word = words.mFirst; word < words.mEnd; ++word)
        {
            void** const handle = ReadWord(word);
            if (IsRecord(handle))
                return handle;
        }
    }
    return nullptr;
}
} // namespace

std::vector<U_u32*> FindMagicNumbers()
{
    std::vector<U_u32*> numbers;
    void** const record = FindRecord();
    U_u32 size = 0;
    if (record)
        U_GetHandleSize(record, &size);
    for (U_u32 i = 0; i < size / sizeof(U_u32); ++i)
    {
        U_u32* const word = static_cast<U_u32*>(*record) + i;
        if (*word == kGlobalsMagic)
            numbers.push_back(word);
    }
    return numbers;
}
