#include "indep/errors/ErrorCount.h"

#include "U_Interact.h"
#include "indep/errors/Globals.h"
#include "indep/errors/Refuse.h"

namespace
{
const U_u16 kGetHowManyErrorsPlace = 12;
const U_u16 kSetHowManyErrorsPlace = 29;
} // namespace

U_Status U_GetHowManyErrors(U_u32* out)
{
    if (!out)
        return BadArgument("U_GetHowManyErrors: no place for the answer");
    if (U_Status damaged = Up_ValidateGlobals(kGetHowManyErrorsPlace))
        return damaged;
    *out = Globals()->mErrorCount;
    return 0;
}

U_Status Up_SetHowManyErrors(U_u32 count)
{
    if (U_Status damaged = Up_ValidateGlobals(kSetHowManyErrorsPlace))
        return damaged;
    Globals()->mErrorCount.store(count);
    return 0;
}
