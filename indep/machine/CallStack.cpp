#include "U_Machine.h"

#include <algorithm>

#include <krobase/machine.h>
#include <platform/base/thread_local.h>

namespace
{
// The highest address that the thread has marked; null: none.
PLATFORM_THREAD_LOCAL char* tMark = nullptr;
} // namespace

void U_InitializeCallStackMonitoring()
{
    tMark = std::max(tMark, krobase::utility::StackAddress());
}

size_t U_GetCurrentCallStackSize()
{
    const char* const here = krobase::utility::StackAddress();
    return tMark > here ? static_cast<size_t>(tMark - here) : 0;
}

bool U_IsCallStackMonitoringInitialized()
{
    return tMark != nullptr;
}
