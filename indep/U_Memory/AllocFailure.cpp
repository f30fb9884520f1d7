// The report of a failed allocation to the user.

#include <string>

#include <krobase/format.h>
#include <krobase/machine.h>
#include <wril/wril.h>

#include "U_Budget.h"
#include "U_Encoding.h"
#include "U_Report.h"
#include "U_ZString.h"
#include "indep/U_Memory/AllocationLoop.h"
#include "indep/U_Memory/LibraryHeap.h"
#include "indep/frame/Guard.h"
#include "indep/frame/ReentrancyGuard.h"

namespace
{
// The published address of docs/help/memory.md.
#define HELP_PAGE "https://u.example/help/memory"

// In the text @0 is the size in the unit and @1 the operation.
struct Message
{
    const char* mText;
    double mUnit; // bytes
    std::size_t mDecimals;
};

const Message kLimitReached = {
    "$$$/QX/U/MemoryLimitReached=Memory allocation of @0 GB exceeds internal limits. Decrease the "
    "memory requirements for the rendering of this frame. (12802@1). For help, see " HELP_PAGE ".",
    1024.0 * 1024 * 1024, 1};

const Message kCannotAllocate = {
    "$$$/QX/U/CannotAllocateEnoughMemory=Unable to allocate @0 MB of memory. Either decrease the "
    "memory requirements for the rendering of this frame, or install more RAM. (12803@1). For "
    "help, see " HELP_PAGE ".",
    1024.0 * 1024, 3};

void LogFragmentation(U_u64 size)
{
    U_u64 largest = 0;
    U_u64 used = 0;
    U_GetMemoryStat(U_MemStat_LargestBlock, &largest);
    const U_u64 installed = krobase::utility::TotalPhysicalMemory();
    U_GetMemoryStat(U_MemStat_InUse, &used);
    WRIL_sprintf(0, "U", "POSS_FRAGMENTATION",
                 "maxblock:%llu request:%llu installed:%llu used:%llu", largest, size, installed,
                 used);
}

U_UTF16String SentenceFor(U_u64 size, const char* what)
{
    using namespace krobase::utility;
    const int kLongest = 31;
    const U_UTF16String suffix =
        what ? U_MBToUTF16String(std::string(" / ") + what) : U_UTF16String();
    const Message& message = size > kLargestBlock ? kLimitReached : kCannotAllocate;
    const U_UTF16String number = NumberToString(static_cast<double>(size) / message.mUnit, 1,
                                                message.mDecimals, 0, kLongest);
    return ReplaceInString(U_ZStringToUTF16String(message.mText), number, suffix);
}

void Report(U_u32 location, U_u64 size, const char* what, bool possibleFragmentation)
{
    if (possibleFragmentation)
        LogFragmentation(size);
    U_ReportError(location, U_Sev_INFO, SentenceFor(size, what));
}
} // namespace

void Up_ReportAllocFailure(U_u32 location, U_u64 size, const char* what, bool possibleFragmentation)
{
    const ReentrancyGuard<struct InAllocReport> entered;
    try
    {
        Guarded([&] {
            if (entered.IsFirst())
                Report(location, size, what, possibleFragmentation);
            else
                WRIL_Log(0, "U", "Up_ReportAllocFailure", "Recurse");
        });
    }
    catch (...)
    {
        // A failed allocation throws no exception of a callback.
    }
}
