#include "indep/errors/Refuse.h"

#include "U_Assert.h"

U_Status BadArgument(const char* why, U_u32 location)
{
    U_ReportFailedVerification(location, 0, nullptr, why);
    return U_Err_BadParameter;
}
