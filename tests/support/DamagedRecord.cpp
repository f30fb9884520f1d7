#include "tests/support/DamagedRecord.h"

#include <cstdint>
#include <set>

#include "U_Alloc.h"
#include "U_Posted.h"
#include "indep/errors/Globals.h"

namespace
{
const std::uintptr_t kSlab = 0x10000; // bytes of a slab of handles, and their alignment

// Returns the slabs that have a free handle.
std::set<std::uintptr_t> FindSlabs()
{
    std::vector<void**> fresh(kSlab / sizeof(void*));
    std::set<std::uintptr_t> slabs;
    for (void**& handle : fresh)
    {
        handle = U_AllocateHandleQuiet(16);
        slabs.insert(reinterpret_cast<std::uintptr_t>(handle) & ~(kSlab - 1));
    }
    for (void** handle : fresh)
        U_FreeHandle(handle);
    return slabs;
}
} // namespace

// The record is the live handle whose block starts with the magic number.
std::vector<U_u32*> FindMagicNumbers()
{
    U_StartQuietErrorsOnCurrentThread(false); // most addresses that the loop tries are no handles
    std::vector<U_u32*> numbers;
    for (const std::uintptr_t slab : FindSlabs())
    {
        for (void** handle = reinterpret_cast<void**>(slab);
             reinterpret_cast<std::uintptr_t>(handle) < slab + kSlab; ++handle)
        {
            U_u32 size = 0;
            if (U_CheckHandleFromHeap(handle) || U_GetHandleSize(handle, &size) ||
                size < sizeof(U_u32))
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
    }
    U_EndQuietErrorsOnCurrentThread();
    return numbers;
}
