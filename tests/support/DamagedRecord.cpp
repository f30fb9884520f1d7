#include "tests/support/DamagedRecord.h"

#include <cstdint>

#include "U_Alloc.h"
#include "U_Posted.h"
#include "indep/errors/Globals.h"

// The record is the live handle whose block starts with the magic number. It lies near a new
// handle.
std::vector<U_u32*> FindMagicNumbers()
{
    U_StartQuietErrorsOnCurrentThread(false); // most addresses that the loop tries are no handles
    const std::uintptr_t kNeighbourhood = 0x10000; // bytes; the alignment of a slab of handles
    void** fresh = U_AllocateHandleQuiet(16);
    void** first =
        reinterpret_cast<void**>(reinterpret_cast<std::uintptr_t>(fresh) & ~(kNeighbourhood - 1));
    U_FreeHandle(fresh);
    std::vector<U_u32*> numbers;
    for (void** handle = first; handle < first + kNeighbourhood / sizeof(void*); ++handle)
    {
        U_u32 size = 0;
        if (U_CheckHandleFromHeap(handle) || U_GetHandleSize(handle, &size) || size < sizeof(U_u32))
            continue;
        U_u32* words = static_cast<U_u32*>(*handle);
        if (words[0] != kGlobalsMagic)
            continue;
        for (U_u32* word = words; word < words + size / sizeof(U_u32); ++word)
        {
            if (*word == kGlobalsMagic)
                numbers.push_back(word);
        }
    }
    U_EndQuietErrorsOnCurrentThread();
    return numbers;
}
