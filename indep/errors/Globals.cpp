// The process-wide record, and the queries on it.

#include "indep/errors/Globals.h"

#include <cstring>
#include <new>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Report.h"
#include "U_String.h"
#include "indep/errors/Report.h"
#include "text/OwnTexts.h"

namespace
{
// Shows all severities except U_Sev_DETAIL and U_Sev_DEBUG, and logs all except U_Sev_DEBUG.
const U_u32 kInteractAtBirth = 0xFFBFFF9F;

// Written by birth and death only, while no other thread is in the library.
void** sGlobals = nullptr;
} // namespace

U_Globals* Globals()
{
    return sGlobals ? static_cast<U_Globals*>(*sGlobals) : nullptr;
}

U_Status Up_MakeGlobals(const char* displayName)
{
    boost::recursive_mutex* loggingLock = new (std::nothrow) boost::recursive_mutex;
    void** handle = loggingLock ? U_AllocateHandleClearQuiet(sizeof(U_Globals)) : nullptr;
    if (!handle)
    {
        delete loggingLock;
        return U_Err_OutOfMemory;
    }
    U_Globals* globals = new (*handle) U_Globals();
    globals->mMagicHead = kGlobalsMagic;
    globals->mMagicTail = kGlobalsMagic;
    U_CopyString(displayName, sizeof(globals->mName), globals->mName);
    globals->mLoggingLock = loggingLock;
    sGlobals = handle;
    Up_SetInteract(kInteractAtBirth);
    return 0;
}

void Up_DestroyGlobals()
{
    U_Globals* globals = Globals();
    if (!globals)
        return;
    globals->mMagicHead = 0;
    globals->mMagicTail = 0;
    delete globals->mLoggingLock;
    U_FreeHandle(sGlobals);
    sGlobals = nullptr;
}

bool Up_GlobalsAreGood()
{
    const U_Globals* globals = Globals();
    return globals && globals->mMagicHead == kGlobalsMagic && globals->mMagicTail == kGlobalsMagic;
}

void Up_MarkDying()
{
    if (U_Globals* globals = Globals())
        globals->mDying = 1;
    TOLV_QuietMemDialogs();
}

U_Status Up_ValidateGlobals(EntryPoint entry)
{
    if (Up_GlobalsAreGood())
        return 0;
    const U_u32 location = kModule | entry;
    if (!Globals())
    {
        Up_ReportErrString(location, U_Sev_FATAL, Up_StringOrEnglish(kTextNoGlobals));
        return U_Err_NoGlobals;
    }
    Up_ReportErrString(location, U_Sev_FATAL, Up_StringOrEnglish(kTextDamagedGlobals));
    Up_MarkDying();
    return U_Err_DamagedGlobals;
}

HostName::HostName() : mIsKnown(Up_GlobalsAreGood())
{
    if (!mIsKnown && Globals())
        Up_MarkDying();
    const char* const name = mIsKnown ? Globals()->mName : "";
    U_CopyStringLen(name, strnlen(name, sizeof(mText)), sizeof(mText), mText);
}

U_Status U_GetName(char* out)
{
    if (!out)
        return BadArgument("U_GetName: no place for the answer");
    if (U_Status damaged = Up_ValidateGlobals(kEntryGetName))
        return damaged;
    const HostName name;
    return U_CopyString(name.mText, sizeof(name.mText), out);
}

U_Status U_GetHowManyErrors(U_u32* out)
{
    if (!out)
        return BadArgument("U_GetHowManyErrors: no place for the answer");
    if (U_Status damaged = Up_ValidateGlobals(kEntryGetHowManyErrors))
        return damaged;
    *out = Globals()->mErrorCount;
    return 0;
}

U_Status Up_SetHowManyErrors(U_u32 count)
{
    if (U_Status damaged = Up_ValidateGlobals(kEntrySetHowManyErrors))
        return damaged;
    Globals()->mErrorCount.store(count);
    return 0;
}
