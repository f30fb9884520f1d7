// What there is to ask of a live block.

#include "U_Alloc.h"

#include <cstdio>
#include <cstring>
#include <limits>

#include <boost/numeric/conversion/cast.hpp>

#include <win32/memory.h>

#include "U_Assert.h"
#include "U_Report.h"
#include "indep/U_Memory/Memory.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"
#include "text/OwnTexts.h"

namespace
{
const U_u32 kSizePlace = kModule | 0x17;
const int kSizeLine = 1859;
const int kCheckLine = 2033;

// Negative, reported, for the size of another heap's handle that doesn't fit.
U_i32 NarrowSize(U_u64 size)
{
    try
    {
        return boost::numeric_cast<U_i32>(size);
    }
    catch (const boost::numeric::bad_numeric_cast& failure)
    {
        U_ReportFailedVerification(kSizePlace, kSizeLine, nullptr, failure.what());
        return std::numeric_limits<U_i32>::min();
    }
}

// A pointer that is not a handle may be unreadable or misaligned, so the block is copied out.
void* BlockOf(void** handle)
{
    void* block = nullptr;
    if (!win32::IsBadReadPtr(handle, sizeof(block)))
        std::memcpy(&block, handle, sizeof(block));
    return block;
}
} // namespace

U_Status U_GetHandleSize(void** handle, U_u32* size)
{
    U_CheckHandleFromHeap(handle);
    if (!handle || !size)
    {
        Up_ReportNuloErrString(kSizePlace, U_Sev_PROBLEM, U_Err_BadParameter,
                               Up_StringOrEnglish(kTextGettingHandleSize));
        return U_Err_BadParameter;
    }
    const U_i32 narrow = NarrowSize(MEM_GetHandleSize(UHeap(), handle));
    if (narrow < 0)
    {
        Up_ReportSyserrString(kSizePlace, U_Sev_PROBLEM, narrow,
                              Up_StringOrEnglish(kTextGettingHandleSize));
        return narrow;
    }
    *size = static_cast<U_u32>(narrow);
    return 0;
}

U_Status U_GetPtrSize(void* pointer, U_u64* size)
{
    if (!size)
        return BadArgument("U_GetPtrSize: no place for the size");
    *size = static_cast<U_u32>(MEM_GetPtrSize(UHeap(), pointer));
    return 0;
}

U_Status U_CheckHandleFromHeap(void** handle)
{
    const U_Status foreign = MEM_CheckHandleFromHeap(UHeap(), handle);
    if (foreign)
    {
        char text[128];
        std::snprintf(text, sizeof(text), "Handle is not from U heap. MP:%p P:%p",
                      static_cast<void*>(handle), BlockOf(handle));
        Up_AssertFailed(text, "..\\indep\\U_Memory", kCheckLine);
    }
    return foreign;
}
