// Operations in which the system allocates or opens something: threads, files, names.

#include <ctime>
#include <fstream>
#include <string>

#include <win32/machine.h>

#include "U_Budget.h"
#include "U_Date.h"
#include "U_Interact.h"
#include "U_Machine.h"
#include "U_MemServices.h"
#include "U_Suspend.h"
#include "tests/operations/Operations.h"

Operations SystemOperations()
{
    const bool kNotInTheSoak = true; // as operations that keep memory
    // A container may lack the description of the processors.
    const bool isDescribed = std::ifstream("/sys/devices/system/cpu/online").good();
    return {
        {"an executor", kBadAlloc | kCode4 | kLess,
         [](Own&) {
             int result = 0;
             try
             {
                 const ContextPtr context = U_Context::MakeNewContext();
                 const U_ContextSetter setter(context);
                 result = U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(
                     MakeExecutor(), [] { return 7; });
             }
             catch (const boost::thread_resource_error&)
             {
                 return kLess;
             }
             return OfCode(result == 7 ? 0 : result, true);
         }},
        {"U_GetSystemMemoryStats", kLess,
         [](Own&) {
             U_MemoryStats stats = {};
             const int code = U_GetSystemMemoryStats(&stats);
             return code == 0 ? RightIf(stats.mResident > 0) : code == 1 ? kLess : kWrong;
         }},
        {"U_CheckRAMPurgeLimit", kLess,
         [](Own&) {
             bool over = false, hit = false;
             const U_Status code = U_CheckRAMPurgeLimit(&over, ~U_u64(0), &hit);
             return code || hit != over ? kWrong : RightIf(over, kLess);
         },
         kNotInTheSoak}, // the soak calls this function with bytes that its limits allow
        {"U_GetMachineName", kBadAlloc | kLess,
         [](Own&) { return RightIf(!U_GetMachineName().empty(), kLess); }},
        {"U_GetComputerName", kLess,
         [](Own&) {
             char name[256];
             return RightIf(U_GetComputerName(sizeof(name), name) == 0 && *name, kLess);
         }},
        {"GetLogicalProcessorInformation", kLess,
         [isDescribed](Own&) {
             unsigned int length = 0;
             win32::SetLastError(0);
             win32::GetLogicalProcessorInformation(nullptr, &length);
             const unsigned int error = win32::GetLastError();
             if (error == win32::kErrorNotEnoughMemory)
                 return kLess;
             if (error == win32::kErrorGeneralFailure)
                 return isDescribed ? kLess : kRight;
             return RightIf(error == win32::kErrorInsufficientBuffer);
         }},
        {"U_IsDebuggerPresent", 0, [](Own&) { return RightIf(!U_IsDebuggerPresent()); }},
        {"U_PtimeToSeconds and U_SecondsToPtime", 0,
         [](Own&) {
             const auto now = boost::posix_time::second_clock::universal_time();
             const U_u32 seconds = U_PtimeToSeconds(now, U_SecondsType_Local);
             return RightIf(U_SecondsToPtime(seconds, U_SecondsType_Local) == now);
         }},
        {"U_DateTimeZoneNow", kCode4 | kBadAlloc,
         [](Own&) {
             std::tm now = {};
             std::string zone;
             const U_Status code = U_DateTimeZoneNow(&now, zone);
             return OfCode(code, now.tm_year > 100, now.tm_year == 0 && zone.empty());
         }},
    };
}
