#include "indep/errors/Errors.h"

#include "U_Report.h"
#include "indep/errors/PostedErrors.h"
#include "indep/errors/QuietStack.h"

void Up_ErrorsBirth()
{
    MakePostedErrors();
    Up_GetThreadLoggingBuffer();
    MakeQuietStack();
}

void Up_ErrorsDeath()
{
    FreePostedErrors();
    FreeQuietStack();
}
