// Charges for memory that the host allocated elsewhere.

#include "U_Alloc.h"

#include <limits>

#include "indep/U_Memory/Memory.h"
#include "indep/errors/Report.h"

namespace
{
const U_i64 kMostCharge = std::numeric_limits<U_i32>::max();
} // namespace

U_Status U_AccountAllocation(U_i32 delta)
{
    return MEM_AccountAllocation(delta);
}

U_Status U_AccountAllocationEx(U_u64 size, bool add)
{
    if (!add)
        return MEM_AccountAllocation(static_cast<U_i32>(0u - static_cast<U_u32>(size)));
    if (size > static_cast<U_u64>(kMostCharge))
        return BadArgument("U_AccountAllocationEx: the size is out of range");
    return MEM_AccountAllocation(static_cast<U_i32>(size));
}

U_Status U_AccountFrameAllocation(U_i64 delta)
{
    return Up_AccountFrames(delta);
}

U_Status U_AccountSystemAllocation(U_i64 delta)
{
    return MEM_AccountSystemAllocation(delta);
}
