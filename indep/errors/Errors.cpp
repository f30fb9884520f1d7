#include "indep/errors/Errors.h"

#include "U_Report.h"
#include "indep/errors/PostedErrors.h"
#include "indep/errors/QuietStack.h"

U_Status Up_ErrorsBirth()
{
    MakePostedErrors();
    Up_GetThreadLoggingBuffer();
    MakeQuietStack();
    return 0;
}

void Up_ErrorsDeath()
{
    FreePostedErrors();
    FreeQuietStack();
}
