// The floating-point control word and the depth of the stack of each thread.

#include "U_Machine.h"

#include <algorithm>
#include <atomic>

#include <krobase/machine.h>
#include <platform/base/thread_local.h>
#include <tolv/profile.h>
#include <win32/runtime.h>

#include "indep/frame/Units.h"

namespace
{
constexpr Units kUseKey = u"UseControlFPKey64_2";
constexpr Units kMaskKey = u"ControlFPMaskKey64_2";
constexpr Units kValuesKey = u"ControlFPValuesKey64_2";

const int kFirstUse = 2;
const U_u32 kAllFields = win32::kMcwDN | win32::kMcwRC | win32::kMcwEM;
const U_u32 kAlways = win32::kDNFlush | win32::kEMInexact;

// One of each for the process, although each thread has a control word of its own: the last
// thread to call U_InitFPControl decides. Atomic, since several threads may call it at once.
std::atomic<U_u8> sUse(0);
std::atomic<U_u32> sSaved(0);

// The highest address that the thread has marked; null without a mark.
PLATFORM_THREAD_LOCAL(char*, tMark);

int ProfileInt(const unsigned short* key, U_u32 defaultValue)
{
    int value = static_cast<int>(defaultValue);
    TOLV_GetProfileInt(key, value, &value);
    return value;
}
} // namespace

void U_InitFPControl()
{
    U_u8 use = static_cast<U_u8>(ProfileInt(kUseKey.mUnits, kFirstUse));
    if (use == kFirstUse)
    {
        use = 1;
        TOLV_SetProfileInt(kUseKey.mUnits, 1);
        TOLV_SetProfileInt(kMaskKey.mUnits, static_cast<int>(kAllFields));
        TOLV_SetProfileInt(kValuesKey.mUnits, static_cast<int>(win32::kMcwEM));
    }
    if (!use)
    {
        sUse = 0;
        return;
    }
    const U_u32 mask = static_cast<U_u32>(ProfileInt(kMaskKey.mUnits, kAllFields));
    const U_u32 values = static_cast<U_u32>(ProfileInt(kValuesKey.mUnits, win32::kMcwEM));
    // sSaved is set before sUse: another thread may call U_TerminateFPControl at any time.
    sSaved = win32::_controlfp(0, 0);
    sUse = use;
    win32::_controlfp(values | kAlways, mask);
}

void U_TerminateFPControl()
{
    if (sUse.exchange(0) != 0)
        win32::_controlfp(sSaved, kAllFields);
}

void U_InitializeCallStackMonitoring()
{
    tMark = std::max<char*>(tMark, krobase::utility::StackAddress());
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
