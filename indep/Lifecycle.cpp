#include "U_Lifecycle.h"

#include <type_traits>

#include <win32/message_box.h>
#include <wril/wril.h>

#include "U_Posted.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "U_ZString.h"
#include "indep/U_Memory/HogTable.h"
#include "indep/U_Memory/LibraryHeap.h"
#include "indep/crash/Fatal.h"
#include "indep/errors/Globals.h"
#include "indep/errors/Report.h"
#include "indep/frame/BirthSteps.h"
#include "indep/frame/Guard.h"
#include "indep/instrumentation/MemoryLog.h"
#include "text/BirthSteps.h"
#include "text/Numbers.h"
#include "text/OwnTexts.h"

namespace
{
const int kLifecycleLevel = 10;
const unsigned int kSimpleBeep = 0xFFFFFFFFu;
const U_u32 kBirthLocation = kModule | 3;

U_RunModeFunction sRunMode = nullptr; // written by birth and death

typedef U_Status (*BirthStep)(const char* displayName);
typedef void (*DeathStep)();

// Makes a step of birth from a function without the display name: one that returns a status, or one
// that reports a failure only by an exception.
template <auto function> U_Status Step(const char*)
{
    if constexpr (std::is_void_v<decltype(function())>)
    {
        function();
        return 0;
    }
    else
    {
        return function();
    }
}

void InstallHandlers()
{
    Up_InstallCrashHandlers(true);
    Up_InstallTerminateHandler(true);
}

void InstallNewHandler()
{
    Up_InstallNewHandler(true);
}

// In order. A failure ends birth and reverts no earlier step.
const BirthStep kFirstSteps[] = {
    &Step<&Up_DetectCPU>,      &Step<&Up_InitializeMemorySubsystem>,
    &Step<&Up_StartMemoryLog>, &Step<&Up_CheckMemorySubsystem>,
    &Step<&InstallHandlers>,   &Step<&Up_MakeTranslatorTable>,
};

// In order, after the first steps. A failure destroys the record.
// clang-format off
const BirthStep kSubBirths[] = {
    &Up_MakeGlobals,
    &Step<&U_ZBirthLStrCacheList>,
    &Step<&U_ZLocaleBirth>,
    &Step<&Up_HogBirth>,
    &Step<&InstallNewHandler>,
    &Step<&Up_DateBirth>,
    &Step<&Up_InitTiming>,
    &Step<&Up_ErrorsBirth>,
    &Step<&Up_ReadNumberSeparators>,
    &Step<&Up_MakeXMLEscapes>,
};
// clang-format on

// A failure of the log in this line ends neither birth nor death.
void LogStep(const char* tag, const char* text)
{
    LogSafely([=] { WRIL_Log(kLifecycleLevel, "U", tag, text); });
}

// Also removes the handler of a failed operator new, which needs the record for its report.
void DestroyRecord()
{
    Up_DestroyGlobals();
    Up_InstallNewHandler(false);
}

const DeathStep kDeathSteps[] = {
    [] { Up_InstallTerminateHandler(false); },
    [] { Up_InstallCrashHandlers(false); },
    &Up_TerminateHogs,
    &U_DisplayPostedErrors,
    [] { U_ZDeathLStrCacheList(); },
    [] { U_ZLocaleDeath(); },
    // The steps above may need the record, the heap and the translators.
    &DestroyRecord,
    &Up_TerminateMemorySubsystem,
    &Up_FreeTranslatorTable,
    &Up_ErrorsDeath,
};

template <std::size_t count>
U_Status RunSteps(const BirthStep (&steps)[count], const char* displayName)
{
    for (BirthStep step : steps)
    {
        U_Status failure = 0;
        const U_Status thrown = Guarded([&] { failure = step(displayName); });
        if (thrown || failure)
            return thrown ? thrown : failure;
    }
    return 0;
}

// The text is the same for all steps.
void ReportFailedBirth(const char* displayName)
{
    char text[256];
    Up_FormatText(text, sizeof(text), "%s%s: %s", displayName,
                  Up_StringOrEnglish(kTextCannotContinue),
                  Up_StringOrEnglish(kTextOutOfMemoryInBirth));
    Up_ReportErrString(kBirthLocation, U_Sev_FATAL, text);
}
} // namespace

U_Status U_Birth(const char* displayName, U_RunModeFunction runMode)
{
    if (!displayName)
        return BadArgument("U_Birth: no display name");
    if (U_Status failure = Guarded(&U_RegisterMainThread))
        return failure;
    sRunMode = runMode;
    U_SetPencartValuesForUErrors(nullptr, nullptr);
    LogStep("Birth", "U Birth");

    if (U_Status failure = RunSteps(kFirstSteps, displayName))
        return failure;
    const U_Status failure = RunSteps(kSubBirths, displayName);
    if (failure)
    {
        GuardedNoexcept([&] { ReportFailedBirth(displayName); });
        DestroyRecord();
    }
    return failure;
}

U_Status U_Death()
{
    LogStep("Death", "U Death");
    const U_Status failure = Up_ValidateGlobals(kEntryDeath);
    U_SetPencartValuesForUErrors(nullptr, nullptr);
    if (failure)
        return failure;
    for (DeathStep step : kDeathSteps)
        GuardedNoexcept(step);
    sRunMode = nullptr;
    return 0;
}

bool U_Die()
{
    if (Up_GlobalsAreGood())
        return Globals()->mDying != 0;
    U_Beep();
    U_Beep();
    return true;
}

U_i32 U_GetRunMode()
{
    return sRunMode ? sRunMode() : 0;
}

U_i32 U_Beep()
{
    return win32::MessageBeep(kSimpleBeep);
}
