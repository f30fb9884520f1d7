// The memory of the process is limited by a job, which this process enters at the first limit and
// never leaves.

#include "tests/support/NoMemory.h"

#include <cstdlib>

#include <win32/native/windows_api.h>

#include "tests/support/System.h"

namespace
{
const SIZE_T kNoLimit = ~SIZE_T(0);

HANDLE MakeJob()
{
    const HANDLE job = ::CreateJobObjectW(nullptr, nullptr);
    if (!job || !::AssignProcessToJobObject(job, ::GetCurrentProcess()))
        std::abort();
    return job;
}

void SetLimit(unsigned long long bytes)
{
    static const HANDLE sJob = MakeJob();
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    if (bytes != kNoLimit)
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_PROCESS_MEMORY;
    limits.ProcessMemoryLimit = bytes;
    ::SetInformationJobObject(sJob, JobObjectExtendedLimitInformation, &limits, sizeof(limits));
}

unsigned long long sLimit = kNoLimit;
} // namespace

bool MemoryCanBeLimited()
{
    return !IsWine();
}

ScAddressSpaceLimit::ScAddressSpaceLimit(unsigned long long room) : mBefore(sLimit)
{
    PROCESS_MEMORY_COUNTERS counters = {};
    ::K32GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof(counters));
    sLimit = counters.PagefileUsage + room;
    SetLimit(sLimit);
}

ScAddressSpaceLimit::~ScAddressSpaceLimit()
{
    sLimit = mBefore;
    SetLimit(sLimit);
}
