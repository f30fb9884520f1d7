#include "threads.h"

#include <win32/process.h>
#include <win32/threads.h>

namespace krobase
{
namespace threads
{
unsigned int GetCurrentThreadID()
{
    return win32::GetCurrentThreadId();
}

unsigned int GetCurrentProcessID()
{
    return win32::GetCurrentProcessId();
}

void SetCurrentThreadName(const char* name)
{
    const unsigned int kCallingThread = 0xFFFFFFFFu;
    const win32::ThreadNameRecord record = {0x1000, name, kCallingThread, 0};
    const unsigned int kArgumentCount = 6; // the record in words of 32 bits
    win32::RaiseException(win32::kThreadNamingException, 0, kArgumentCount, &record);
}
} // namespace threads
} // namespace krobase
