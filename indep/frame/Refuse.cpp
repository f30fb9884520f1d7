#include "indep/frame/Refuse.h"

#include "U_Assert.h"

U_Status RefuseArgument(const char* why, U_u32 location)
{
    U_ReportFailedVerification(location, 0, nullptr, why);
    return U_Err_BadParameter;
}
