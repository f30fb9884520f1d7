#include "U_Machine.h"

#include <algorithm>

#include <krobase/machine.h>

#include "indep/frame/ThreadPiece.h"

namespace
{
struct CallStackMark
{
    char* mBase; // the highest address marked; null: none
};

char* Mark()
{
    const CallStackMark* const mark = ThreadPiece<CallStackMark>::Find();
    return mark ? mark->mBase : nullptr;
}
} // namespace

void U_InitializeCallStackMonitoring()
{
    char* const here = krobase::utility::StackAddress();
    if (CallStackMark* mark = ThreadPiece<CallStackMark>::Make())
        mark->mBase = std::max(mark->mBase, here);
}

size_t U_GetCurrentCallStackSize()
{
    const char* const here = krobase::utility::StackAddress();
    const char* const base = Mark();
    return base && base > here ? static_cast<size_t>(base - here) : 0;
}

bool U_IsCallStackMonitoringInitialized()
{
    return Mark() != nullptr;
}
