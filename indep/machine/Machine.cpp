// The processor, the thread count, keys, names, and the depth of the stack.

#include "U_Machine.h"

#include <algorithm>
#include <atomic>
#include <bitset>
#include <limits>
#include <vector>

#include <krobase/machine.h>
#include <platform/base/thread_local.h>
#include <tolv/keyboard.h>
#include <win32/machine.h>
#include <win32/process.h>
#include <wril/wril.h>

#include "U_Interact.h"
#include "indep/errors/Report.h"
#include "indep/frame/BirthSteps.h"

namespace
{
typedef win32::SYSTEM_LOGICAL_PROCESSOR_INFORMATION ProcessorInformation;

const int kBirthLevel = 10;

const U_i32 kAskTheMachine = -1;
const U_u32 kMachineNameRoom = 32; // units, with the terminator
const U_u32 kUserNameRoom = 256 + 1;

U_CPU_Data sData; // written by birth only
std::atomic<U_i32> sNumThreads(kAskTheMachine);

// The highest address that the thread has marked; null without a mark.
PLATFORM_THREAD_LOCAL(char*, tMark);

U_u32 Bit(int word, int bit)
{
    return static_cast<U_u32>(word) >> bit & 1;
}

void ReadFlags()
{
    int registers[4] = {};
    win32::__cpuidex(registers, 1, 0);
    const int c = registers[2];
    const int d = registers[3];
    sData.MMX = 1;
    sData.SSE = Bit(d, 25);
    sData.SSE2 = Bit(d, 26);
    sData.SSE3 = Bit(c, 0);
    sData.SSSE = Bit(c, 9);
    sData.SSE4_1 = Bit(c, 19);
    sData.SSE4_2 = Bit(c, 20);
}

// Returns no entries if the system reports none.
std::vector<ProcessorInformation> AskSystem()
{
    U_u32 length = 0;
    win32::GetLogicalProcessorInformation(nullptr, &length);
    std::vector<ProcessorInformation> entries(length / sizeof(ProcessorInformation));
    if (entries.empty() || !win32::GetLogicalProcessorInformation(entries.data(), &length))
        return std::vector<ProcessorInformation>();
    // The second call may return fewer entries.
    entries.resize(std::min(entries.size(), length / sizeof(ProcessorInformation)));
    return entries;
}

void CountCores()
{
    const std::vector<ProcessorInformation> entries = AskSystem();
    if (entries.empty())
        sData.PhysicalCores = sData.LogicalCores = 1;
    for (const ProcessorInformation& entry : entries)
    {
        if (entry.Relationship != win32::kRelationProcessorCore)
            continue;
        ++sData.PhysicalCores;
        sData.LogicalCores += static_cast<U_u32>(std::bitset<64>(entry.ProcessorMask).count());
    }
}

template <U_u32 room> U_UTF16String NameFrom(int (*ask)(unsigned short*, unsigned int*))
{
    unsigned short name[room] = {};
    unsigned int size = room;
    return ask(name, &size) ? U_UTF16String(name) : U_UTF16String();
}
} // namespace

const U_CPU_Data* U_G_CPU_DataP = nullptr;

void Up_DetectCPU()
{
    U_G_CPU_DataP = &sData;
    sData = U_CPU_Data();
    ReadFlags();
    CountCores();
    WRIL_sprintf(kBirthLevel, "U", "CPU Data",
                 "LogicalCores:%d, PhysicalCores:%d, MMX:%d, SSE:%d SSE2:%d, SSE3:%d, "
                 "SSSE(MNI):%d, SSE4_1:%d, SSE4_2:%d",
                 sData.LogicalCores, sData.PhysicalCores, sData.MMX, sData.SSE, sData.SSE2,
                 sData.SSE3, sData.SSSE, sData.SSE4_1, sData.SSE4_2);
}

U_Status U_GetNumThreads(U_i32* out)
{
    if (!out)
        return BadArgument("U_GetNumThreads: no place for the answer");
    const U_i32 count = sNumThreads;
    *out = count < 0 ? krobase::utility::CPUCount() : count;
    return 0;
}

U_Status U_SetNumThreads(U_i32 count)
{
    sNumThreads = count;
    return 0;
}

bool U_IsOSX()
{
    return false;
}

bool U_QTAvailable()
{
    return false;
}

bool U_ModKeyDown(U_u32 mask)
{
    return (GetCurrentKeyModifiers() & mask) == mask;
}

U_UTF16String U_GetMachineName()
{
    return NameFrom<kMachineNameRoom>(&win32::GetComputerNameW);
}

U_UTF16String U_GetUsername()
{
    return NameFrom<kUserNameRoom>(&win32::GetUserNameW);
}

bool U_IsDebuggerPresent()
{
    return win32::IsDebuggerPresent() != 0;
}

U_i32 U_GetComputerName(U_u32 size, char* out)
{
    if (out && size > 0)
        *out = 0;
    const U_u32 most = std::numeric_limits<int>::max();
    return win32::gethostname(out, static_cast<int>(std::min(size, most)));
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
